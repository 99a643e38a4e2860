#include "stress_log.h"

#include <windows.h>

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <mutex>

#include "lumora_log.h"

namespace {

constexpr char kPrefix[] = "%s %s(%d): %s:%d %s ";
constexpr std::size_t kLongestLine = 300;
constexpr std::size_t kShownLines = 60;

std::atomic<long long> gLines{0};
std::atomic<int> gCreated{0};
std::atomic<int> gDestroyed{0};
std::atomic<int> gFailedInstalls{0};

// In place, since the memory of a test that counts blocks must not grow.
struct LastLines {
    std::mutex mutex;
    char text[kShownLines][kLongestLine] = {};
    std::size_t next = 0;
};

LastLines& lastOnes()
{
    static auto& lines = *new LastLines;
    return lines;
}

void countLine(const char* format)
{
    if (std::strncmp(format, kPrefix, sizeof kPrefix - 1) != 0)
        return;
    const char* const message = format + sizeof kPrefix - 1;
    if (std::strcmp(message, "create %p") == 0)
        ++gCreated;
    else if (std::strcmp(message, "destroy %p") == 0)
        ++gDestroyed;
    else if (std::strncmp(message, "OleSetClipboard return", 22) == 0)
        ++gFailedInstalls;
}

// Without the prefix, which ends with the second name of the function.
void keepLine(const char* line)
{
    const char* const path = std::strchr(line, ')');
    const char* const message = path != nullptr ? std::strchr(path + 1, ' ') : nullptr;
    const char* const shown = message != nullptr ? std::strchr(message + 1, ' ') : nullptr;
    LastLines& last = lastOnes();
    const std::lock_guard<std::mutex> lock(last.mutex);
    std::snprintf(last.text[last.next], kLongestLine, "%04lx%s", GetCurrentThreadId(), shown ? shown : line);
    last.next = (last.next + 1) % kShownLines;
}

void countingLog(int /*module*/, int /*level*/, const char* /*tag*/, const char* format, ...)
{
    ++gLines;
    countLine(format);
    char line[kLongestLine] = {};
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(line, sizeof line, format, arguments);
    va_end(arguments);
    keepLine(line);
}

}  // namespace

void* StressLog::function()
{
    return reinterpret_cast<void*>(&countingLog);
}

int StressLog::liveObjects()
{
    return gCreated - gDestroyed;
}

int StressLog::keptObjects()
{
    return gFailedInstalls;
}

long long StressLog::lines()
{
    return gLines;
}

std::vector<std::string> StressLog::lastLines()
{
    LastLines& last = lastOnes();
    const std::lock_guard<std::mutex> lock(last.mutex);
    std::vector<std::string> lines;
    for (std::size_t i = 0; i < kShownLines; ++i)
        lines.emplace_back(last.text[(last.next + i) % kShownLines]);
    return lines;
}
