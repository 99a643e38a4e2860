// The renderer as a host sees it at first: its mode, its cache directory and the start of its watchers.
#include "file_clipboard_lazy_renderer/file_clipboard_lazy_renderer.h"

#include <gtest/gtest.h>

#include <process.h>

#include <thread>

#include "renderer_access.h"
#include "support/import_hook.h"
#include "support/recording_log.h"
#include "support/temporary_folder.h"

using namespace sd::clip;

namespace {

using Messages = std::vector<std::string>;

std::wstring gDrives;
int gFailingCall = 0;  // 1 is the one for the length
std::atomic<int> gDriveCalls{0};

DWORD WINAPI giveDrives(DWORD length, LPWSTR buffer)
{
    const int call = ++gDriveCalls;
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    if (call == gFailingCall)
        return 0;
    if (call % 2 == 1) {
        EXPECT_EQ(length, 0u);
        EXPECT_EQ(buffer, nullptr);
        return static_cast<DWORD>(gDrives.size());
    }
    EXPECT_EQ(length, gDrives.size());
    std::copy(gDrives.begin(), gDrives.end(), buffer);
    return length - 1;
}

struct InventedDrives {
    explicit InventedDrives(std::wstring drives, int failingCall = 0)
    {
        gDrives = std::move(drives);
        gFailingCall = failingCall;
        gDriveCalls = 0;
    }
    const ImportHook<decltype(&GetLogicalDriveStringsW)> hook{nullptr, "GetLogicalDriveStringsW", &giveDrives};
};

// Watchers may run until the process ends, so it is never destroyed.
FileClipboardLazyRenderer& makeRenderer()
{
    return *new FileClipboardLazyRenderer;
}

// What this thread has logged, each with its level.
Messages ownLines()
{
    Messages lines;
    for (const LogLine& line : RecordingLog::lines()) {
        if (line.thread == std::this_thread::get_id())
            lines.push_back(std::to_string(line.level) + " " + line.message);
    }
    return lines;
}

const std::wstring kNoSuchDrives(L"Q:\\\0R:\\\0\0", 9);

}  // namespace

TEST(FileClipboardLazyRenderer, MembersStandInTheirOrder)
{
    const auto members = TestAccess::members(makeRenderer());
    for (std::size_t i = 1; i < members.size(); ++i)
        EXPECT_LT(members[i - 1], members[i]) << "member " << i;
}

TEST(FileClipboardLazyRenderer, TheModeIsOffAtFirstAndTakesEachValue)
{
    FileClipboardLazyRenderer renderer;
    EXPECT_FALSE(renderer.GetSupportFileClipboardFullPostProcessMode());
    renderer.SetSupportFileClipboardFullPostProcessMode(true);
    EXPECT_TRUE(renderer.GetSupportFileClipboardFullPostProcessMode());
    renderer.SetSupportFileClipboardFullPostProcessMode(false);
    EXPECT_FALSE(renderer.GetSupportFileClipboardFullPostProcessMode());
    EXPECT_EQ(RecordingLog::messages(5), (Messages{"Set support file clipboard full post process mode to 1",
                                                   "Set support file clipboard full post process mode to 0"}));
    EXPECT_EQ(RecordingLog::messages().size(), 2u);
}

TEST(FileClipboardLazyRenderer, TheModeMayBeSetWhileAPlaceholderLands)
{
    FileClipboardLazyRenderer renderer;
    std::thread landing([&renderer] {
        const auto lock = TestAccess::lock(renderer);
        std::thread([&renderer] { renderer.SetSupportFileClipboardFullPostProcessMode(true); }).join();
    });
    landing.join();
    EXPECT_TRUE(renderer.GetSupportFileClipboardFullPostProcessMode());
}

TEST(FileClipboardLazyRenderer, ItIsReadyOnlyIfSomebodySaysSo)
{
    FileClipboardLazyRenderer renderer;
    EXPECT_FALSE(renderer.IsReady());
    TestAccess::setReady(renderer);
    EXPECT_TRUE(renderer.IsReady());
}

TEST(FileClipboardLazyRenderer, ReadinessIsReadUnderTheLock)
{
    FileClipboardLazyRenderer renderer;
    auto lock = TestAccess::lock(renderer);
    auto ready = std::async(std::launch::async, [&renderer] { return renderer.IsReady(); });
    EXPECT_EQ(ready.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
    lock.unlock();
    EXPECT_FALSE(ready.get());
}

TEST(FileClipboardLazyRenderer, AnUnusedOneHasNothing)
{
    FileClipboardLazyRenderer renderer;
    EXPECT_EQ(TestAccess::armedData(renderer), nullptr);
    EXPECT_EQ(TestAccess::suffix(renderer), "");
    EXPECT_EQ(TestAccess::cacheDirectory(renderer), "");
    EXPECT_FALSE(TestAccess::pendingOwnCopy(renderer));
    EXPECT_EQ(TestAccess::watchThreads(renderer), 0u);
    EXPECT_FALSE(TestAccess::hasPromise(renderer));
}

TEST(RendererInit, EachDriveGetsAWatcherWhateverItIs)
{
    const InventedDrives drives(kNoSuchDrives);
    FileClipboardLazyRenderer& renderer = makeRenderer();
    EXPECT_TRUE(renderer.Init("C:\\no\\such\\cache\\"));
    EXPECT_EQ(ownLines(),
              (Messages{"5 Init file clipboard lazy renderer, cache dir C:\\no\\such\\cache\\",
                        "5 Start monitoring all drives.", "5 Logical drive number: 2", "5 Start watching drive Q:\\",
                        "5 Start watching drive R:\\", "5 Finish monitoring all drives."}));
    EXPECT_EQ(TestAccess::watchThreads(renderer), 2u);
    EXPECT_EQ(gDriveCalls, 2);
    // without a volume there is no watcher, and the success stands
    for (const std::string drive : {"Q:\\", "R:\\"}) {
        EXPECT_TRUE(
            RecordingLog::waitForLine(7, "Drive: " + drive + "\tVolume Name: Could not determine, error ", 20000));
        const LogLine begun = RecordingLog::firstLine(5, "WatchDirectory " + drive);
        const LogLine ended = RecordingLog::firstLine(7, "Drive: " + drive);
        EXPECT_NE(begun.thread, std::this_thread::get_id());
        EXPECT_EQ(begun.thread, ended.thread);
    }
    EXPECT_FALSE(fileExists(L"C:\\no"));
}

TEST(RendererInit, TheDrivesOfTheMachineAreWatched)
{
    FileClipboardLazyRenderer& renderer = makeRenderer();
    EXPECT_TRUE(renderer.Init("C:\\no\\such\\cache\\"));
    EXPECT_TRUE(RecordingLog::waitForLine(5, "Drive: C:\\, Get Volume Information success", 20000));
    EXPECT_GE(TestAccess::watchThreads(renderer), 1u);
}

TEST(RendererInit, WithoutADriveThereIsNothingToWatchAndNoFailure)
{
    const InventedDrives drives(std::wstring(2, L'\0'));
    FileClipboardLazyRenderer renderer;
    EXPECT_TRUE(renderer.Init("C:\\cache\\"));
    EXPECT_EQ(ownLines(),
              (Messages{"5 Init file clipboard lazy renderer, cache dir C:\\cache\\", "5 Start monitoring all drives.",
                        "5 Logical drive number: 0", "5 Finish monitoring all drives."}));
    EXPECT_EQ(TestAccess::watchThreads(renderer), 0u);
}

TEST(RendererInit, DrivesThatCantBeListedAreAFailureAtEitherCall)
{
    for (const int failingCall : {1, 2}) {
        RecordingLog::clear();
        const InventedDrives drives(kNoSuchDrives, failingCall);
        FileClipboardLazyRenderer renderer;
        EXPECT_FALSE(renderer.Init("C:\\cache\\"));
        EXPECT_EQ(
            ownLines(),
            (Messages{"5 Init file clipboard lazy renderer, cache dir C:\\cache\\", "5 Start monitoring all drives.",
                      "7 GetLogicalDriveStrings() failed with error code: 8", "7 Failed to monitor drives!"}));
        EXPECT_EQ(gDriveCalls, failingCall);
        EXPECT_EQ(TestAccess::watchThreads(renderer), 0u);
        EXPECT_EQ(TestAccess::cacheDirectory(renderer), "C:\\cache\\");
    }
}

TEST(RendererInit, AfterAFailureALaterOneTriesAgain)
{
    FileClipboardLazyRenderer& renderer = makeRenderer();
    {
        const InventedDrives drives(kNoSuchDrives, 1);
        EXPECT_FALSE(renderer.Init("C:\\cache\\"));
    }
    const InventedDrives drives(kNoSuchDrives);
    EXPECT_TRUE(renderer.Init("C:\\cache\\"));
    EXPECT_EQ(TestAccess::watchThreads(renderer), 2u);
    EXPECT_EQ(RecordingLog::count(5, "Init file clipboard lazy renderer, cache dir C:\\cache\\"), 2);
}

TEST(RendererInit, ASecondOneChangesTheDirectoryAndStartsNoThread)
{
    const InventedDrives drives(kNoSuchDrives);
    FileClipboardLazyRenderer& renderer = makeRenderer();
    EXPECT_TRUE(renderer.Init("C:\\first\\"));
    RecordingLog::clear();
    EXPECT_TRUE(renderer.Init("D:/second/"));
    EXPECT_EQ(ownLines(), Messages{"5 File clipboard lazy renderer already initialized"});
    EXPECT_EQ(TestAccess::watchThreads(renderer), 2u);
    EXPECT_EQ(gDriveCalls, 2);
    EXPECT_EQ(TestAccess::cacheDirectory(renderer), "D:\\second\\");
}

TEST(RendererInit, TheNextPreparationUsesTheDirectoryOfTheSecondOne)
{
    const TemporaryFolder folder;
    const InventedDrives drives(std::wstring(2, L'\0'));
    FileClipboardLazyRenderer renderer;
    EXPECT_TRUE(renderer.Init(folder.utf8Path() + "\\first\\"));
    EXPECT_TRUE(renderer.Init(folder.utf8Path() + "\\second\\"));
    EXPECT_TRUE(renderer.PrepareFileLazyRendering(makeGuestRecord({"a.txt"})));
    EXPECT_EQ(listNames(folder.path()), std::vector<std::wstring>{L"second"});
    EXPECT_EQ(listNames(folder.path() + L"\\second").size(), 1u);
}

TEST(RendererInit, SlashesOfTheDirectoryBecomeBackslashes)
{
    const InventedDrives drives(std::wstring(2, L'\0'));
    FileClipboardLazyRenderer renderer;
    EXPECT_TRUE(renderer.Init("C:/gr\xC3\xBC\xC3\x9F/a\\b//c/"));
    EXPECT_EQ(TestAccess::cacheDirectory(renderer), "C:\\gr\xC3\xBC\xC3\x9F\\a\\b\\\\c\\");
    EXPECT_EQ(RecordingLog::count(5, "Init file clipboard lazy renderer, cache dir C:/gr\xC3\xBC\xC3\x9F/a\\b//c/"), 1);
}

TEST(RendererInit, ItDoesNotWaitForAPreparation)
{
    const InventedDrives drives(std::wstring(2, L'\0'));
    FileClipboardLazyRenderer renderer;
    const auto lock = TestAccess::lock(renderer);
    EXPECT_TRUE(std::async(std::launch::async, [&renderer] { return renderer.Init("C:\\cache\\"); }).get());
}

TEST(RendererInit, OfTwoAtOnceOnlyOneStartsTheWatchers)
{
    for (int round = 0; round < 10; ++round) {
        const InventedDrives drives(kNoSuchDrives);
        FileClipboardLazyRenderer& renderer = makeRenderer();
        auto other = std::async(std::launch::async, [&renderer] { return renderer.Init("C:\\a\\"); });
        EXPECT_TRUE(renderer.Init("C:\\b\\"));
        EXPECT_TRUE(other.get());
        EXPECT_EQ(TestAccess::watchThreads(renderer), 2u);
        EXPECT_EQ(gDriveCalls, 2);
    }
}

TEST(RendererInit, ADriveWhoseThreadCantBeStartedIsLoggedAndTheRestGoesOn)
{
    const InventedDrives drives(kNoSuchDrives);
    FileClipboardLazyRenderer& renderer = makeRenderer();
    {
        const ImportHook<decltype(&_beginthreadex)> start(
            nullptr, "_beginthreadex",
            +[](void*, unsigned, unsigned(__stdcall*)(void*), void*, unsigned, unsigned*) -> uintptr_t { return 0; });
        EXPECT_TRUE(renderer.Init("C:\\cache\\"));
    }
    const Messages lines = ownLines();
    ASSERT_EQ(lines.size(), 8u);
    EXPECT_EQ(lines[3], "5 Start watching drive Q:\\");
    EXPECT_EQ(lines[4].rfind("7 Drive can't be watched: ", 0), 0u) << lines[4];
    EXPECT_EQ(lines[5], "5 Start watching drive R:\\");
    EXPECT_EQ(lines[6].rfind("7 Drive can't be watched: ", 0), 0u) << lines[6];
    EXPECT_EQ(TestAccess::watchThreads(renderer), 0u);
}
