#include "sweep_host.h"

#include <ole2.h>

#include <algorithm>
#include <filesystem>

#include "example_support/wine_stream_fix.h"
#include "sd/clip/clipboard_data.h"
#include "stress/stress_paster.h"
#include "support/placeholder_names.h"
#include "swept_imports.h"

using namespace sd::clip;
namespace fs = std::filesystem;

namespace {

constexpr std::uint32_t kFailed = 1;
constexpr std::size_t kLargeSize = 1200000;  // two slices

}  // namespace

SweepHost& SweepHost::shared()
{
    static auto& host = *new SweepHost;
    return host;
}

SweepHost::SweepHost()
    : mDll(GetModuleHandleW(L"md-clipboard.dll")),
      mRuntimeHandles(mDll),
      mBlocks(mDll),
      mWindowFix(mDll),
      mClipboardFix(mDll),
      mShield(mDll),
      mClock(mDll),
      mReads(LazyReads::shared()),
      mLog(mDll, "lumoraLogPrint", SweepLog::function()),
      mListener(std::make_shared<RecordingListener>()),
      mCache(mFolder.utf8Path() + "/cache/")
{
    SweptImports::replaceIn(mDll);
    mListener->duringFormats = [](const std::vector<ClipboardFormat>&) { SweepLog::noteReport(); };
    std::replace(mCache.begin(), mCache.end(), '\\', '/');
    mFolder.addFile(L"copied\\file.txt", "copied");
    mFolder.addFile(L"copied\\tree\\a\\b\\c.txt", "c");
    mFolder.addFile(L"copied\\tree\\d.txt", "d");
    mFolder.addFolder(L"landing");
    for (const PumpingThread* const thread : {&mHostThread, &mPasteThread})
        thread->run([] { OleInitialize(nullptr); });
    mPasteThread.run([] { const WineStreamFix fixedAsLongAsTheThreadLives; });
    emptyClipboard();
}

void SweepHost::start()
{
    if (mClipboard == nullptr)
        mClipboard = Clipboard::Get();
    if (mClipboard == nullptr)
        return;
    mClipboard->SetListener(mListener);
    mClipboard->SetFileClipboardSupported(true);
    mWindowThread.run([this] {
        SetLastError(0);
        mClipboard->Init();
    });
    mClipboard->InitFileLazyRenderer(mCache);
    waitUntil([] { return SweepLog::count("Sync clipboard to client end.") >= SweepLog::count(" Init end."); });
    awaitWatchers();
    awaitQuiet();
}

// Until each waits in a read, or has told why it never will.
void SweepHost::awaitWatchers() const
{
    static constexpr const char* kGivenUp[] = {"Drive can't be watched: ", "Volume Name: Could not determine",
                                               "Failed to create file - ", "Failed to create event ",
                                               "Failed to monitor drive directory changes - "};
    waitUntil([this] {
        int settled = mReads.countWaitingWatchers();
        for (const char* const line : kGivenUp)
            settled += SweepLog::count(line);
        return settled >= SweepLog::count("Start watching drive ");
    });
}

bool SweepHost::waitForWatchers() const
{
    return mReads.waitForWatcher(L'C') && mReads.waitForWatcher(L'D');
}

bool SweepHost::copyFiles()
{
    return mCopying.copyFiles({mFolder.path() + L"\\copied\\file.txt", mFolder.path() + L"\\copied\\tree"});
}

bool SweepHost::emptyClipboard()
{
    return mCopying.emptyClipboard();
}

// Under Wine, a folder is watched only once it was opened as one.
std::wstring SweepHost::landOn(wchar_t drive)
{
    const fs::path target = drive == L'C' ? mFolder.path() + L"\\landing" : mOther.path();
    lookIntoFolder(mFolder.path());
    lookIntoFolder(target.wstring());
    std::error_code ignored;
    for (fs::directory_iterator entry(fs::u8path(mCache), ignored), end; entry != end; entry.increment(ignored)) {
        const std::wstring name = entry->path().filename().wstring();
        const std::wstring copied = (target / name).wstring();
        if (!isPlaceholder(name))
            continue;
        DeleteFileW(copied.c_str());
        mReads.forget(copied);
        return CopyFileW(entry->path().c_str(), copied.c_str(), FALSE) ? copied : std::wstring();
    }
    return {};
}

std::shared_ptr<GuestList> SweepHost::makeList()
{
    const std::vector<GuestFile> files = {
        {"", "large.bin", makeBytes(kLargeSize)}, {"", "empty.bin", ""}, {"folder", "small.bin", makeBytes(5)}};
    return std::make_shared<GuestList>(files, Delivery());
}

bool SweepHost::offer(const std::shared_ptr<GuestList>& list)
{
    bool taken = false;
    mLists.push_back(list);
    mHostThread.run([&] { taken = mClipboard->SetClipboardData(ClipboardFormat::File, list->makeRecord()); });
    return taken;
}

// Changes that follow one another at once are looked at as one, which counts as the library's own: a copy comes once
// the library has seen its own write.
bool SweepHost::offerLazily(const std::shared_ptr<LazyList>& list)
{
    bool taken = false;
    const int before = SweepLog::ownWrites();
    mHostThread.run(
        [&] { taken = mClipboard->SetClipboardData(ClipboardFormat::FileLazy, list->makeRecord({"report.txt"})); });
    if (taken)
        waitUntil([before] { return SweepLog::ownWrites() > before; });
    return taken;
}

std::size_t SweepHost::receiveFiles()
{
    std::size_t count = 0;
    mHostThread.run([&] {
        const auto record =
            std::dynamic_pointer_cast<ClipboardFileDataImpl>(mClipboard->GetClipboardData(ClipboardFormat::File));
        count = record != nullptr ? record->GetFiles().size() : 0;
    });
    return count;
}

void SweepHost::removeCache() const
{
    std::error_code ignored;
    fs::remove_all(fs::u8path(mCache), ignored);
}

// A change is in the window thread's queue when it was made, so that thread is asked first.
void SweepHost::awaitQuiet() const
{
    constexpr int kQuietPauses = 3;
    int pauses = 0;
    int detections = -1;
    waitUntil([&] {
        mWindowThread.run([] {});
        const bool isQuiet = SweepLog::isLastChangeSeen() && SweepLog::detections() == detections;
        detections = SweepLog::detections();
        pauses = isQuiet ? pauses + 1 : 0;
        return pauses == kQuietPauses;
    });
}

void SweepHost::calmDown()
{
    mHostThread.run([this] { mClipboard->NotifyFileTransferFailed(kFailed); });
    for (const auto& each : mLists) {
        if (const auto list = each.lock())
            list->end();
    }
    mLists.clear();
    emptyClipboard();
    awaitQuiet();
}

std::vector<std::string> SweepHost::tryEverything()
{
    std::vector<std::string> problems;
    if (mClipboard == nullptr)
        return {"there is no engine"};
    calmDown();
    tryCopy(problems);
    tryPaste(problems);
    tryLanding(problems);
    calmDown();
    return problems;
}

void SweepHost::tryCopy(std::vector<std::string>& problems)
{
    mListener->clear();
    if (!copyFiles() || !mListener->waitForFiles())
        problems.emplace_back("the next copy is not reported");
    awaitQuiet();
    // Under Wine a detection that is still looking takes the clipboard away from a reader.
    std::size_t count = 0;
    waitUntil([&] { return (count = receiveFiles()) == kCopiedFiles; });
    if (count != kCopiedFiles)
        problems.push_back("the next copy has " + std::to_string(count) + " files");
}

void SweepHost::tryPaste(std::vector<std::string>& problems)
{
    const auto list = makeList();
    if (!offer(list))
        problems.emplace_back("the next list is refused");
    awaitQuiet();
    std::map<std::wstring, std::string> pasted;
    inApplication([&] { pasted = StressPaster::pasteAll(); });
    if (pasted.size() != list->files().size() || pasted[L"large.bin"] != list->files()[0].bytes ||
        !pasted[L"empty.bin"].empty() || pasted[L"folder\\small.bin"] != list->files()[2].bytes)
        problems.emplace_back("the next paste is not whole");
    awaitQuiet();
}

// A drive whose watcher failed is not watched again, as told. A watcher passes over the last of several changes that
// came at once, so one landing may go unseen.
void SweepHost::tryLanding(std::vector<std::string>& problems)
{
    constexpr int kAttempts = 10;
    constexpr int kLongestLanding = 1500;  // milliseconds
    const auto list = std::make_shared<LazyList>();
    if (!offerLazily(list))
        problems.emplace_back("the next placeholder is not made");
    awaitQuiet();
    for (int i = 0; i < kAttempts; ++i) {
        for (const wchar_t drive : {L'C', L'D'}) {
            const std::wstring path = landOn(drive);
            const bool landed = !path.empty() && list->waitForLandings(1, kLongestLanding);
            DeleteFileW(path.c_str());
            if (landed)
                return;
        }
    }
    problems.emplace_back("the next placeholder does not land");
}
