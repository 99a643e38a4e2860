// A stand-in for log.dll, for tests, the demo and anyone without the real one: prints every line to standard error as
//   12:34:56.789 5 0a1c clipboard text
// (UTC time, level, thread in hexadecimal, tag, text). The environment variable LUMORA_LOG_MIN_LEVEL, read at each
// line, hides the lines of lower levels.
#include <windows.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "lumora_log.h"

namespace {

int minimumLevel()
{
    char text[16];
    const DWORD length = GetEnvironmentVariableA("LUMORA_LOG_MIN_LEVEL", text, sizeof text);
    return length > 0 && length < sizeof text ? std::atoi(text) : 0;
}

std::string formatText(const char* format, va_list arguments)
{
    va_list measured;
    va_copy(measured, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, measured);
    va_end(measured);
    if (length < 0)
        return format;
    std::string text(static_cast<std::size_t>(length) + 1, '\0');
    std::vsnprintf(text.data(), text.size(), format, arguments);
    text.resize(static_cast<std::size_t>(length));
    return text;
}

std::string formatHead(int level, const char* tag)
{
    SYSTEMTIME now;
    GetSystemTime(&now);
    char head[128];
    std::snprintf(head, sizeof head, "%02d:%02d:%02d.%03d %d %04lx %s ", now.wHour, now.wMinute, now.wSecond,
                  now.wMilliseconds, level, GetCurrentThreadId(), tag);
    return head;
}

}  // namespace

extern "C" void lumoraLogPrint(int /*module*/, int level, const char* tag, const char* format, ...)
{
    // The caller logs failures with the last error as an argument and may read it again afterwards.
    const DWORD lastError = GetLastError();
    if (level >= minimumLevel()) {
        va_list arguments;
        va_start(arguments, format);
        std::string line = formatHead(level, tag) + formatText(format, arguments);
        va_end(arguments);
        while (!line.empty() && line.back() == '\n')
            line.pop_back();
        line += '\n';
        DWORD written = 0;  // one call, so that lines of several threads do not mix
        WriteFile(GetStdHandle(STD_ERROR_HANDLE), line.data(), static_cast<DWORD>(line.size()), &written, nullptr);
    }
    SetLastError(lastError);
}
