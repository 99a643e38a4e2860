#include "stress_host.h"

#include <gtest/gtest.h>
#include <ole2.h>

#include <algorithm>
#include <atomic>
#include <filesystem>

#include "example_support/wine_stream_fix.h"
#include "stress_guest.h"
#include "stress_log.h"
#include "stress_paster.h"
#include "support/file_times.h"
#include "support/placeholder_names.h"
#include "support/recording_listener.h"
#include "support/wait_until.h"

using namespace sd::clip;
namespace fs = std::filesystem;

namespace {

constexpr DWORD kShortPause = 5;      // milliseconds
constexpr std::int64_t kSilence = 4;  // seconds: longer than any application is silent that still pastes

std::atomic<bool> gHurries{false};
std::atomic<std::int64_t> gAhead{0};  // seconds
std::atomic<decltype(&GetSystemTimePreciseAsFileTime)> gRealTime{nullptr};

void WINAPI sleepShortly(DWORD milliseconds)
{
    Sleep(gHurries ? std::min(milliseconds, kShortPause) : milliseconds);
}

void WINAPI tellMovedTime(FILETIME* time)
{
    gRealTime.load()(time);
    *time = laterFileTime(*time, gAhead);
}

// Under Wine, a folder is watched only once it was opened as one.
void lookInto(const fs::path& folder)
{
    std::error_code ignored;
    fs::directory_iterator(folder, ignored);
}

}  // namespace

StressHost& StressHost::shared()
{
    static auto& host = *new StressHost;
    return host;
}

StressHost::StressHost()
    : mDll(GetModuleHandleW(L"md-clipboard.dll")),
      mBlocks(mDll),
      mLog(mDll, "lumoraLogPrint", StressLog::function()),
      mWindowFix(mDll),
      mClipboardFix(mDll),
      mShield(mDll),
      mSleep(mDll, "Sleep", &sleepShortly),
      mTime(mDll, "GetSystemTimePreciseAsFileTime", &tellMovedTime),
      mClipboard(Clipboard::Get())
{
    gRealTime = mTime.real();
    mFolder->addFile(L"copied\\file.txt", "copied");
    mFolder->addFile(L"copied\\tree\\a\\b\\c.txt", "c");
    mFolder->addFile(L"copied\\tree\\d.txt", "d");
    mPasteThread.run([] {
        OleInitialize(nullptr);
        const WineStreamFix fixedAsLongAsTheThreadLives;
    });
}

std::string StressHost::cacheDirectory(std::size_t which) const
{
    std::string cache = mFolder->utf8Path() + (which == 0 ? "/cache/" : "/other cache/");
    std::replace(cache.begin(), cache.end(), '\\', '/');
    return cache;
}

void StressHost::removeFiles()
{
    mFolder.reset();
}

void StressHost::init()
{
    mWindowThread.run([this] {
        SetLastError(0);
        mClipboard->Init();
    });
}

void StressHost::hurry(bool on)
{
    gHurries = on;
}

void StressHost::moveClock()
{
    gAhead += kSilence;
}

bool StressHost::copyFiles(const std::vector<std::wstring>& paths)
{
    return mCopying.copyFiles(paths);
}

bool StressHost::copyText()
{
    return mCopying.copyText();
}

bool StressHost::emptyClipboard()
{
    return mCopying.emptyClipboard();
}

int StressHost::landPlaceholders()
{
    int count = 0;
    const fs::path target = fs::path(mFolder->path()) / ("landing" + std::to_string(++mFolders));
    CreateDirectoryW(target.c_str(), nullptr);
    lookInto(mFolder->path());
    lookInto(target);
    for (std::size_t which : {0u, 1u}) {
        std::error_code ignored;
        const fs::path cache = fs::u8path(cacheDirectory(which));
        for (fs::directory_iterator entry(cache, ignored), end; entry != end; entry.increment(ignored)) {
            const fs::path name = entry->path().filename();
            if (isPlaceholder(name) && CopyFileW(entry->path().c_str(), (target / name).c_str(), FALSE))
                ++count;
        }
    }
    return count;
}

void StressHost::calmDown()
{
    constexpr std::uint32_t kFailed = 1;
    hurry(false);
    mClipboard->SetListener(nullptr);
    mClipboard->NotifyFileTransferFailed(kFailed);
    StressGuest::shared().finishDeliveries();
    EXPECT_TRUE(emptyClipboard());
    mClipboard->SetFileClipboardSupported(true);
    mClipboard->SetSupportFileClipboardFullPostProcessMode(false);
    mClipboard->InitFileLazyRenderer(cacheDirectory(0));
}

void StressHost::expectAllWorks()
{
    calmDown();
    init();
    expectCopyIsReported();
    expectPasteIsWhole();
    expectPlaceholderLands();
    calmDown();
}

void StressHost::expectCopyIsReported()
{
    const auto listener = std::make_shared<RecordingListener>();
    mClipboard->SetListener(listener);
    // The change that a last preparation announced as its own may be one of these.
    EXPECT_TRUE(waitUntil([&] { return emptyClipboard() && listener->waitForReports(1, 1000); }));
    EXPECT_TRUE(copyFiles({mFolder->path() + L"\\copied\\file.txt", mFolder->path() + L"\\copied\\tree"}));
    EXPECT_TRUE(listener->waitForFiles());
    const auto record =
        std::dynamic_pointer_cast<ClipboardFileDataImpl>(mClipboard->GetClipboardData(ClipboardFormat::File));
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(record->GetFiles().size(), 3u);
}

void StressHost::expectPasteIsWhole()
{
    FileList files(3);
    files[0].fileName = "large.bin";
    files[0].size = 2500000;
    files[1].fileName = "empty.bin";
    files[2].relativePath = "folder";
    files[2].fileName = "small.bin";
    files[2].size = 5;
    const auto record = StressGuest::shared().makeStreamedRecord(files, 0);
    EXPECT_TRUE(mClipboard->SetClipboardData(ClipboardFormat::File, record));
    std::map<std::wstring, std::string> pasted;
    mPasteThread.run([&] { pasted = StressPaster::pasteAll(); });
    EXPECT_EQ(pasted.size(), 3u);
    EXPECT_TRUE(pasted[L"large.bin"] == contentsOf(2500000)) << pasted[L"large.bin"].size();
    EXPECT_EQ(pasted[L"empty.bin"].size(), 0u);
    EXPECT_TRUE(pasted[L"folder\\small.bin"] == contentsOf(5));
    StressGuest::shared().finishDeliveries();
}

// A watcher passes over the last of several changes that came at once, so one landing may go unseen.
void StressHost::expectPlaceholderLands()
{
    FileList files(1);
    files[0].fileName = "placeholder.txt";
    EXPECT_TRUE(mClipboard->SetClipboardData(ClipboardFormat::FileLazy, StressGuest::shared().makeLazyRecord(files)));
    const int before = StressGuest::shared().landings();
    EXPECT_TRUE(waitUntil([&] {
        EXPECT_GE(landPlaceholders(), 1);
        return waitUntil([&] { return StressGuest::shared().landings() > before; }, 2000);
    }));
}

Holdings StressHost::hold()
{
    Holdings now;
    now.handles = countHandles();
    now.threads = countThreads();
    now.blocks = LiveBlocks::count();
    now.kept = StressLog::keptObjects();
    now.dataObjects = StressLog::liveObjects() - now.kept;
    return now;
}

Holdings StressHost::settle()
{
    constexpr int kAwaitedPauses = 3;
    Holdings last = hold();
    int pauses = 0;
    waitUntil([&] {
        Sleep(1000);
        const Holdings now = hold();
        const bool isSame = now.handles == last.handles && now.threads == last.threads && now.blocks == last.blocks;
        pauses = isSame ? pauses + 1 : 0;
        last = now;
        return pauses == kAwaitedPauses;
    });
    return last;
}
