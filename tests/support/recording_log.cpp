#include "support/recording_log.h"

#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <utility>

#include "lumora_log.h"
#include "support/journal.h"

namespace {

const std::string kPrefix = "%s %s(%d): %s:%d %s ";
const std::string kShortPrefix = "%s %s(%d): ";  // of one old line

struct Storage {
    std::mutex mutex;
    std::vector<LogLine> lines;
};

Storage& storage()
{
    static auto& storage = *new Storage;  // never destroyed: detached threads may log until the process ends
    return storage;
}

std::string formatMessage(const char* format, va_list arguments)
{
    va_list measured;
    va_copy(measured, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, measured);
    va_end(measured);
    if (length < 0)
        return "(cannot be formatted)";
    std::string text(static_cast<std::size_t>(length) + 1, '\0');
    std::vsnprintf(text.data(), text.size(), format, arguments);
    text.resize(static_cast<std::size_t>(length));
    return text;
}

bool beginsWith(const std::string& text, const std::string& beginning)
{
    return text.compare(0, beginning.size(), beginning) == 0;
}

}  // namespace

extern "C" void lumoraLogPrint(int module, int level, const char* tag, const char* format, ...)
{
    LogLine line;
    line.module = module;
    line.level = level;
    line.tag = tag;
    line.format = format;
    line.thread = std::this_thread::get_id();
    const bool isWhole = beginsWith(line.format, kPrefix);
    if (!beginsWith(line.format, kShortPrefix)) {
        std::fprintf(stderr, "log line without the common prefix: %s\n", format);
        std::abort();
    }
    va_list arguments;
    va_start(arguments, format);
    line.file = va_arg(arguments, const char*);
    line.function = va_arg(arguments, const char*);
    line.line = va_arg(arguments, int);
    if (isWhole) {
        line.fileAgain = va_arg(arguments, const char*);
        line.lineAgain = va_arg(arguments, int);
        line.functionAgain = va_arg(arguments, const char*);
    }
    line.message = formatMessage(format + (isWhole ? kPrefix : kShortPrefix).size(), arguments);
    va_end(arguments);

    Journal::shared().add("log " + std::to_string(level) + " " + line.message);
    std::lock_guard<std::mutex> lock(storage().mutex);
    storage().lines.push_back(line);
}

std::string printAddress(const void* address)
{
    char text[32];
    std::snprintf(text, sizeof text, "%p", address);
    return text;
}

void RecordingLog::clear()
{
    std::lock_guard<std::mutex> lock(storage().mutex);
    storage().lines.clear();
}

std::vector<LogLine> RecordingLog::lines()
{
    std::lock_guard<std::mutex> lock(storage().mutex);
    return storage().lines;
}

std::vector<LogLine> RecordingLog::take()
{
    std::lock_guard<std::mutex> lock(storage().mutex);
    return std::exchange(storage().lines, {});
}

std::vector<std::string> RecordingLog::messages(int level)
{
    std::vector<std::string> result;
    for (const LogLine& line : lines()) {
        if (level == 0 || line.level == level)
            result.push_back(line.message);
    }
    return result;
}

int RecordingLog::count(int level, const std::string& message)
{
    int result = 0;
    for (const std::string& text : messages(level))
        result += text == message ? 1 : 0;
    return result;
}

LogLine RecordingLog::firstLine(int level, const std::string& beginning)
{
    for (const LogLine& line : lines()) {
        if (line.level == level && beginsWith(line.message, beginning))
            return line;
    }
    return LogLine();
}

bool RecordingLog::hasLine(int level, const std::string& beginning)
{
    return firstLine(level, beginning).level == level;
}

bool RecordingLog::waitForLine(int level, const std::string& beginning, int milliseconds)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
    while (!hasLine(level, beginning)) {
        if (std::chrono::steady_clock::now() >= end)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

void* RecordingLog::function()
{
    return reinterpret_cast<void*>(&lumoraLogPrint);
}
