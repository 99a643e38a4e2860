#include "sweep_log.h"

#include <algorithm>
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <mutex>

namespace {

constexpr char kPrefix[] = "%s %s(%d): %s:%d %s ";
constexpr std::size_t kLongestLine = 1000;

struct Lines {
    std::mutex mutex;
    std::vector<std::string> lines;
    std::vector<std::string> formats;
};

Lines& shared()
{
    static auto& lines = *new Lines;  // lines come until the process ends
    return lines;
}

std::atomic<int> gBegun{0};
std::atomic<int> gEnded{0};
std::atomic<int> gBegunBeforeChange{-1};  // none is awaited before the first change
std::atomic<int> gOwnWrites{0};
std::atomic<int> gLiveObjects{0};
std::atomic<int> gKeptObjects{0};

bool beginsWith(const char* text, const char* beginning)
{
    return std::strncmp(text, beginning, std::strlen(beginning)) == 0;
}

void countLine(const char* message)
{
    if (std::strcmp(message, "create %p") == 0)
        ++gLiveObjects;
    else if (std::strcmp(message, "destroy %p") == 0)
        --gLiveObjects;
    else if (beginsWith(message, "OleSetClipboard return"))
        ++gKeptObjects;
    else if (std::strcmp(message, "Sync clipboard to client begin.") == 0)
        SweepLog::noteChange();  // the first report is on its way
    else if (beginsWith(message, "Consume file lazy renderer copy"))
        ++gBegun;
    else if (beginsWith(message, "File clipboard lazy renderer is ready, skip") ||
             beginsWith(message, "not support onDetectCopy"))
        ++gEnded;
}

void keepLine(int /*module*/, int level, const char* /*tag*/, const char* format, ...)
{
    char line[kLongestLine] = {};
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(line, sizeof line, format, arguments);
    va_end(arguments);
    const bool hasPrefix = beginsWith(format, kPrefix);
    // The prefix ends with the second name of the function: "file function(line): file:line function message".
    const char* message = hasPrefix ? std::strstr(line, "): ") : nullptr;
    for (int words = 0; message != nullptr && words < 3; ++words)
        message = std::strchr(message + 1, ' ');
    const char* const shownFormat = hasPrefix ? format + sizeof kPrefix - 1 : format;
    {
        Lines& all = shared();
        const std::lock_guard<std::mutex> lock(all.mutex);
        all.lines.push_back(std::to_string(level) + (message != nullptr ? message : line));
        all.formats.push_back(std::to_string(level) + " " + shownFormat);
    }
    countLine(shownFormat);
    if (std::strstr(line, " Consume file lazy renderer copy 1") != nullptr)
        ++gOwnWrites;
}

}  // namespace

void* SweepLog::function()
{
    return reinterpret_cast<void*>(&keepLine);
}

void SweepLog::clear()
{
    Lines& all = shared();
    const std::lock_guard<std::mutex> lock(all.mutex);
    all.lines.clear();
    all.formats.clear();
}

std::vector<std::string> SweepLog::lines()
{
    Lines& all = shared();
    const std::lock_guard<std::mutex> lock(all.mutex);
    return all.lines;
}

std::vector<std::string> SweepLog::formats()
{
    Lines& all = shared();
    const std::lock_guard<std::mutex> lock(all.mutex);
    return all.formats;
}

int SweepLog::count(const std::string& text)
{
    Lines& all = shared();
    const std::lock_guard<std::mutex> lock(all.mutex);
    return static_cast<int>(std::count_if(all.lines.begin(), all.lines.end(), [&text](const std::string& line) {
        return line.find(text) != std::string::npos;
    }));
}

bool SweepLog::has(const std::string& text)
{
    return count(text) > 0;
}

// The window thread calls it, and the thread of the first report: the later of both counts.
void SweepLog::noteChange()
{
    const int begun = gBegun;
    int before = gBegunBeforeChange;
    while (before < begun && !gBegunBeforeChange.compare_exchange_weak(before, begun)) {
    }
}

void SweepLog::noteReport()
{
    ++gEnded;
}

int SweepLog::detections()
{
    return gBegun;
}

// While a loaded machine has not let the worker begin, nothing runs and nothing has been seen.
bool SweepLog::isLastChangeSeen()
{
    return gBegun > gBegunBeforeChange && gBegun == gEnded;
}

int SweepLog::ownWrites()
{
    return gOwnWrites;
}

int SweepLog::liveObjects()
{
    return gLiveObjects - gKeptObjects;
}

int SweepLog::keptObjects()
{
    return gKeptObjects;
}
