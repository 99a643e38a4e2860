#include "soak_host.h"

#include <ole2.h>
#include <psapi.h>

#include <algorithm>

#include "example_support/wine_stream_fix.h"
#include "support/journal.h"
#include "support/recording_log.h"

using namespace sd::clip;

namespace {

bool isMessage(const LogLine& line, const char* beginning)
{
    return line.message.rfind(beginning, 0) == 0;
}

// On Windows the private bytes; Wine counts those that are in memory or swapped out.
std::int64_t countPrivateBytes()
{
    PROCESS_MEMORY_COUNTERS counters = {};
    counters.cb = sizeof counters;
    GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters);
    return static_cast<std::int64_t>(counters.PagefileUsage);
}

Holdings holdNow()
{
    return {static_cast<std::int64_t>(countHandles()), static_cast<std::int64_t>(countThreads()), LiveBlocks::count(),
            countPrivateBytes() / 1024};
}

}  // namespace

SoakHost& SoakHost::shared()
{
    static auto& host = *new SoakHost;
    return host;
}

SoakHost::SoakHost() : mBlocks(GetModuleHandleW(L"md-clipboard.dll")), mKilled(GetModuleHandleW(L"md-clipboard.dll"))
{
    mListener->duringFormats = [this](const std::vector<ClipboardFormat>& formats) {
        if (std::count(formats.begin(), formats.end(), ClipboardFormat::File) > 0)
            fetch();
    };
    clipboard().SetListener(mListener);
    mCallingThread.run([] {
        OleInitialize(nullptr);
        const WineStreamFix fixedAsLongAsTheThreadLives;
    });
}

bool SoakHost::offer(ClipboardFormat route, const std::shared_ptr<ClipboardData>& record)
{
    bool taken = false;
    mCallingThread.run([&] { taken = clipboard().SetClipboardData(route, record); });
    return taken;
}

void SoakHost::fetch()
{
    const auto record =
        std::dynamic_pointer_cast<ClipboardFileData>(clipboard().GetClipboardData(ClipboardFormat::File));
    if (record == nullptr)
        return;  // another program has changed the clipboard since, and a new report is on its way
    const std::lock_guard<std::mutex> lock(mMutex);
    mReceived.push_back(record->GetFiles());
}

void SoakHost::forget()
{
    countObjects();
    Journal::shared().clear();
    mListener->clear();
    const std::lock_guard<std::mutex> lock(mMutex);
    mReceived.clear();
    mReceived.shrink_to_fit();
}

std::size_t SoakHost::countReports() const
{
    return mListener->reports().size();
}

bool SoakHost::wasToldOfFiles() const
{
    const auto reports = mListener->reports();
    return std::any_of(reports.begin(), reports.end(), [](const auto& formats) { return !formats.empty(); });
}

std::vector<SoakHost::FileList> SoakHost::receivedLists() const
{
    const std::lock_guard<std::mutex> lock(mMutex);
    return mReceived;
}

std::size_t SoakHost::countEvents(const std::string& operation) const
{
    const auto events = mListener->events();
    return static_cast<std::size_t>(std::count_if(
        events.begin(), events.end(), [&](const RecordedEvent& event) { return event.operation == operation; }));
}

int SoakHost::countDataObjects()
{
    countObjects();
    return mDataObjects;
}

void SoakHost::countObjects()
{
    for (const LogLine& line : RecordingLog::take()) {
        if (isMessage(line, "create 0"))
            ++mDataObjects;
        else if (isMessage(line, "destroy 0") || isMessage(line, "OleSetClipboard return"))
            --mDataObjects;
    }
}

Holdings SoakHost::hold() const
{
    constexpr int kMostPauses = 10;
    constexpr DWORD kPause = 100;  // milliseconds
    Holdings last = holdNow();
    for (int i = 0; i < kMostPauses; ++i) {
        Sleep(kPause);
        const Holdings now = holdNow();
        const bool isSame = now.handles == last.handles && now.threads == last.threads && now.blocks == last.blocks;
        last = now;
        if (isSame)
            break;
    }
    return last;
}
