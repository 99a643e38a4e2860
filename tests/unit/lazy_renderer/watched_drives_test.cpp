// Placeholders that are pasted on real drives, with real watchers.
#include <gtest/gtest.h>
#include <windows.h>

#include <stdexcept>

#include "example_support/runs_under_wine.h"
#include "support/clipboard_owner.h"
#include "watching_host.h"

using namespace sd::clip;

namespace {

using Strings = std::vector<std::string>;

class WatchedDrives : public testing::Test {
protected:
    WatchedDrives()
    {
        EXPECT_TRUE(mHost.watches());
    }
    ~WatchedDrives() override
    {
        // what these tests' objects hold is called no more
        TestAccess::arm(mHost.renderer(), nullptr, "");
        ClipboardOwner().putNothing();
    }

    bool prepare(const std::string& name = "a.txt", std::function<int()> during = nullptr)
    {
        return mHost.prepare(mFolder.utf8Path() + "\\cache\\", name, mLandings.callback(std::move(during)));
    }

    std::wstring placeholderName(const std::wstring& name = L"a.txt") const
    {
        return name + L"." + Utf8ToWide(mHost.suffix());
    }
    std::wstring placeholder() const
    {
        return mFolder.path() + L"\\cache\\" + placeholderName();
    }

    bool paste(const std::wstring& folder)
    {
        return pasteUntilReported(mLandings, placeholder(), folder, placeholderName());
    }

    static bool waitUntilGone(const std::wstring& path)
    {
        for (int i = 0; i < 5000 && fileExists(path); ++i)
            Sleep(2);
        return !fileExists(path);
    }

    WatchingHost& mHost = WatchingHost::shared();
    TemporaryFolder mFolder;
    SecondDriveFolder mSecondFolder;
    ReportedLandings mLandings;
};

}  // namespace

TEST_F(WatchedDrives, APasteIntoAFolderIsReportedAndThePlaceholderTakenAway)
{
    ASSERT_TRUE(prepare());
    mFolder.addFile(L"dest\\other.txt", "other");
    EXPECT_TRUE(paste(mFolder.path() + L"\\dest"));
    EXPECT_EQ(mLandings.roots(), Strings{mFolder.utf8Path() + "\\dest"});
    EXPECT_EQ(listNames(mFolder.path() + L"\\dest"), std::vector<std::wstring>{L"other.txt"});
    EXPECT_EQ(TestAccess::armedData(mHost.renderer()), mHost.record());
}

TEST_F(WatchedDrives, APasteOnAnotherDriveIsReported)
{
    ASSERT_TRUE(prepare());
    EXPECT_TRUE(paste(mSecondFolder.path()));
    EXPECT_EQ(mLandings.roots(), Strings{WideToUtf8(mSecondFolder.path())});
    EXPECT_TRUE(listNames(mSecondFolder.path()).empty());
}

TEST_F(WatchedDrives, APasteAtTheRootOfADriveIsReportedAsTheDrive)
{
    ASSERT_TRUE(prepare());
    EXPECT_TRUE(paste(L"D:"));
    EXPECT_TRUE(paste(L"C:"));
    EXPECT_EQ(mLandings.roots(), (Strings{"D:", "C:"}));
    EXPECT_FALSE(fileExists(L"D:\\" + placeholderName()));
    EXPECT_FALSE(fileExists(L"C:\\" + placeholderName()));
}

TEST_F(WatchedDrives, APasteIntoAFolderOfAnyDepthIsReported)
{
    ASSERT_TRUE(prepare());
    const std::wstring deep = mFolder.addFolder(L"a\\b c\\\u00FC\U0001F600\\d");
    EXPECT_TRUE(paste(deep));
    EXPECT_EQ(mLandings.roots(), Strings{WideToUtf8(deep)});
}

TEST_F(WatchedDrives, TwoPastesOfOnePlaceholderAreBothReported)
{
    ASSERT_TRUE(prepare());
    const std::wstring first = mFolder.addFolder(L"first");
    const std::wstring second = mFolder.addFolder(L"second");
    EXPECT_TRUE(paste(first));
    EXPECT_TRUE(paste(second));
    EXPECT_TRUE(paste(first));
    EXPECT_EQ(mLandings.roots(), (Strings{WideToUtf8(first), WideToUtf8(second), WideToUtf8(first)}));
}

TEST_F(WatchedDrives, PastesOnTwoDrivesAtOnceAreReportedOneAfterTheOther)
{
    std::atomic<int> inside{0};
    std::atomic<int> most{0};
    ASSERT_TRUE(prepare("a.txt", [&] {
        most = std::max<int>(most, ++inside);
        Sleep(20);
        --inside;
        return 0;
    }));
    const std::wstring folder = mFolder.addFolder(L"dest");
    for (int round = 0; round < 3; ++round) {
        bool onFirst = false;
        std::thread manager([&] { onFirst = paste(folder); });
        EXPECT_TRUE(paste(mSecondFolder.path()));
        manager.join();
        EXPECT_TRUE(onFirst);
    }
    EXPECT_EQ(most, 1);
    EXPECT_EQ(mLandings.count(WideToUtf8(folder)), 3u);
    EXPECT_EQ(mLandings.count(WideToUtf8(mSecondFolder.path())), 3u);
}

TEST_F(WatchedDrives, ACopyWithWordsAfterTheNameIsReportedAndStays)
{
    ASSERT_TRUE(prepare("a.txt", [] { return 0; }));
    const std::wstring folder = mFolder.addFolder(L"dest");
    const std::wstring name = placeholderName() + L" - Copy";
    EXPECT_TRUE(pasteUntilReported(mLandings, placeholder(), folder, name));
    EXPECT_EQ(listNames(folder), std::vector<std::wstring>{name});
}

TEST_F(WatchedDrives, AFileThatIsRenamedInItsFolderIsNoLanding)
{
    ASSERT_TRUE(prepare());
    const std::wstring other = mFolder.addFile(L"renamed\\other.txt");
    listNames(mFolder.path() + L"\\renamed");
    ASSERT_TRUE(MoveFileW(other.c_str(), (mFolder.path() + L"\\renamed\\" + placeholderName()).c_str()));
    EXPECT_TRUE(paste(mFolder.addFolder(L"dest")));  // comes after it
    EXPECT_EQ(mLandings.roots(), Strings{mFolder.utf8Path() + "\\dest"});
    EXPECT_EQ(listNames(mFolder.path() + L"\\renamed"), std::vector<std::wstring>{placeholderName()});
}

TEST_F(WatchedDrives, AMoveWithinADriveIsALandingWhereThePlatformTellsOfAnAddedFile)
{
    ASSERT_TRUE(prepare());
    const std::wstring folder = mFolder.addFolder(L"moved");
    const std::wstring control = mFolder.addFile(L"control");
    listNames(folder);
    const std::wstring moved = folder + L"\\" + placeholderName();
    ASSERT_TRUE(MoveFileW(placeholder().c_str(), moved.c_str()));
    EXPECT_TRUE(pasteUntilReported(mLandings, control, mFolder.addFolder(L"dest"), placeholderName()));
    // Wine tells of a move between folders as of a renaming
    EXPECT_EQ(fileExists(moved), runsUnderWine());
    EXPECT_EQ(mLandings.count(WideToUtf8(folder)), runsUnderWine() ? 0u : 1u);
}

TEST_F(WatchedDrives, AFileThatGoesIsNoLanding)
{
    ASSERT_TRUE(prepare());
    // there, and seen by the watcher, before the renderer looks for its name
    const std::wstring old = mFolder.addFile(L"old\\b.txt.12345678");
    const std::wstring control = mFolder.addFile(L"control");
    listNames(mFolder.path() + L"\\old");
    EXPECT_TRUE(paste(mFolder.addFolder(L"before")));
    TestAccess::arm(mHost.renderer(), makeGuestRecord({"b.txt"}, mLandings.callback()), "12345678");
    ASSERT_TRUE(DeleteFileW(old.c_str()));
    EXPECT_TRUE(pasteUntilReported(mLandings, control, mFolder.addFolder(L"dest"), L"b.txt.12345678"));
    EXPECT_EQ(mLandings.roots(), (Strings{mFolder.utf8Path() + "\\before", mFolder.utf8Path() + "\\dest"}));
}

TEST_F(WatchedDrives, ThePlaceholdersOwnCreationIsSeenAndBypassed)
{
    const std::string relative = mFolder.utf8Path().substr(3);
    bool isSeen = false;
    for (int attempt = 0; attempt < 8 && !isSeen; ++attempt) {
        ASSERT_TRUE(prepare());
        isSeen =
            RecordingLog::waitForLine(5, "Bypass cache file: C" + relative + "\\cache\\a.txt." + mHost.suffix(), 3000);
    }
    EXPECT_TRUE(isSeen);
    EXPECT_TRUE(mLandings.roots().empty());
    EXPECT_TRUE(fileExists(placeholder()));
}

TEST_F(WatchedDrives, ACacheInAnotherLetterCaseTakesItsOwnPlaceholderForAPaste)
{
    mFolder.addFolder(L"Cache");
    const std::string root = mFolder.utf8Path() + "\\Cache";
    for (int attempt = 0; attempt < 8 && mLandings.count(root) == 0; ++attempt) {
        ASSERT_TRUE(prepare());
        mLandings.waitFor(root, 1, 3000);
    }
    EXPECT_GE(mLandings.count(root), 1u);
    EXPECT_TRUE(waitUntilGone(placeholder()));
}

TEST_F(WatchedDrives, ACacheWithSlashesIsBypassedToo)
{
    std::string cache = mFolder.utf8Path() + "/cache/";
    std::replace(cache.begin(), cache.end(), '\\', '/');
    ASSERT_TRUE(mHost.prepare(cache, "a.txt", mLandings.callback()));
    EXPECT_TRUE(paste(mFolder.addFolder(L"dest")));
    EXPECT_EQ(mLandings.roots(), Strings{mFolder.utf8Path() + "\\dest"});
    EXPECT_TRUE(fileExists(placeholder()));
}

TEST_F(WatchedDrives, AfterAFailedPreparationNoPasteIsReported)
{
    ASSERT_TRUE(prepare());
    const std::wstring old = placeholderName();
    const std::wstring control = mFolder.addFile(L"control");
    EXPECT_FALSE(mHost.renderer().PrepareFileLazyRendering(makeGuestRecord({}, mLandings.callback())));
    const std::wstring folder = mFolder.addFolder(L"dest");
    listNames(folder);
    ASSERT_TRUE(CopyFileW(control.c_str(), (folder + L"\\" + old).c_str(), FALSE));
    TestAccess::arm(mHost.renderer(), makeGuestRecord({"b.txt"}, mLandings.callback()), "12345678");
    EXPECT_TRUE(pasteUntilReported(mLandings, control, mFolder.addFolder(L"later"), L"b.txt.12345678"));
    EXPECT_EQ(mLandings.roots(), Strings{mFolder.utf8Path() + "\\later"});
    EXPECT_TRUE(fileExists(folder + L"\\" + old));
}

TEST_F(WatchedDrives, AHostThatThrowsIsServedAgain)
{
    int calls = 0;
    ASSERT_TRUE(prepare("a.txt", [&calls]() -> int {
        if (++calls == 1)
            throw std::runtime_error("no room");
        return 3;
    }));
    const std::wstring folder = mFolder.addFolder(L"dest");
    EXPECT_TRUE(paste(folder));
    EXPECT_TRUE(RecordingLog::waitForLine(7, "A landing can't be handled: no room", 20000));
    EXPECT_TRUE(paste(folder));
    EXPECT_TRUE(RecordingLog::waitForLine(7, "Lazy rendering file copy start failed(3) for ", 20000));
    EXPECT_EQ(calls, 2);
}

TEST_F(WatchedDrives, AHostMayPrepareItsNextListFromInside)
{
    ReportedLandings next;
    std::atomic<bool> prepared{false};
    ASSERT_TRUE(prepare("a.txt", [&] {
        prepared = mHost.renderer().PrepareFileLazyRendering(makeGuestRecord({"next.txt"}, next.callback()));
        return 0;
    }));
    const std::wstring folder = mFolder.addFolder(L"dest");
    EXPECT_TRUE(paste(folder));
    EXPECT_TRUE(RecordingLog::waitForLine(7, "Lazy rendering file copy(FullPostProcessMode) remove original", 20000));
    EXPECT_TRUE(prepared);
    const std::wstring name = placeholderName(L"next.txt");
    EXPECT_TRUE(pasteUntilReported(next, mFolder.path() + L"\\cache\\" + name, folder, name));
    EXPECT_EQ(mLandings.roots().size(), 1u);
}

TEST_F(WatchedDrives, APreparationOfAnotherThreadWaitsForTheHostsCall)
{
    std::promise<void> end;
    std::shared_future<void> ended = end.get_future().share();
    ASSERT_TRUE(prepare("a.txt", [ended] {
        ended.wait();
        return 0;
    }));
    EXPECT_TRUE(paste(mFolder.addFolder(L"dest")));
    auto preparing = std::async(std::launch::async, [this] {
        return mHost.renderer().PrepareFileLazyRendering(makeGuestRecord({"b.txt"}, mLandings.callback()));
    });
    EXPECT_EQ(preparing.wait_for(std::chrono::milliseconds(300)), std::future_status::timeout);
    end.set_value();
    EXPECT_TRUE(preparing.get());
}

TEST_F(WatchedDrives, TheReportOfTheHostsThreadIsKept)
{
    std::thread host;
    ASSERT_TRUE(prepare("a.txt", [&] {
        host = std::thread([this] { mHost.renderer().NotifyFileLazyRenderingComplete(0); });
        return 0;
    }));
    const auto done = TestAccess::renderingDone(mHost.renderer());
    EXPECT_TRUE(paste(mFolder.addFolder(L"dest")));
    ASSERT_EQ(done.wait_for(std::chrono::seconds(20)), std::future_status::ready);
    EXPECT_EQ(done.get(), 0);
    const auto lock = TestAccess::lock(mHost.renderer());  // the callback has returned
    host.join();
}
