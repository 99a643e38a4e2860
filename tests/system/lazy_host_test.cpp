// The placeholder route between three real processes: clip-host with its guest, clip-paste, and this one.
#include <filesystem>

#include "example_support/utf8_arguments.h"
#include "host_process.h"
#include "lazy_test.h"
#include "sha256.h"
#include "support/placeholder_names.h"

namespace fs = std::filesystem;

namespace {

class LazyHost : public HostProcessTest {
protected:
    LazyHost()
    {
        addGuestFile(L"a.txt", 5);
        addGuestFile(L"sub\\deep\\gr\u00FC\u00DFe.bin", 3000000);
        addGuestFile(L"sub\\empty", 0);
        mFolder.addFolder(L"guest\\empty folder");
    }

    // With its watchers of both drives about to read.
    void startLazyHost(std::vector<std::wstring> options = {})
    {
        options.insert(options.begin(), {L"--lazy", L"--verbose"});
        startHost(options);
        EXPECT_TRUE(waitForHost("Drive: C:\\, Get Volume Information success"));
        EXPECT_TRUE(waitForHost("Drive: D:\\, Get Volume Information success"));
    }

    // The user's copy ends the host, once the library has recognised its own write. Changes that follow one another at
    // once are looked at as one, and that one counts as the library's own: as long as a loaded machine has not let the
    // worker begin, that goes for seconds.
    DWORD endHost()
    {
        EXPECT_TRUE(waitForHost("File clipboard lazy renderer is ready, skip onDetectCopy"));
        return HostProcessTest::endHost();
    }

    // Whatever another program does at the same moment, the landing is seen in the end: a watcher may not have begun to
    // read, and passes over the last of several records.
    void awaitBrought(const std::wstring& folder, int count)
    {
        const std::string brought = "brought 3 files, 3000005 bytes to " + toUtf8(folder) + "\n";
        for (int i = 0; i < 20; ++i) {
            if (waitUntil([&] { return countInHostOutput(brought) >= count; }, 5000))
                return;
            for (const fs::directory_entry& entry : fs::directory_iterator(folder + L"\\")) {
                if (!isPlaceholder(entry.path()))
                    continue;
                DeleteFileW(entry.path().c_str());
                makeEmptyFile(entry.path().wstring());
            }
        }
        ADD_FAILURE() << "not brought to " << toUtf8(folder);
    }

    void pasteInto(const std::wstring& folder)
    {
        ChildProcess child(L"clip-paste.exe", {folder});
        EXPECT_EQ(child.waitForExit(), kPasteWritten) << child.output();
        EXPECT_NE(child.output().find("wrote 1 files, 0 bytes to "), std::string::npos) << child.output();
    }

    // All of the guest's is there and nothing else: the placeholder went.
    void expectBrought(const std::wstring& folder) const
    {
        EXPECT_EQ(sumsBelow(folder), sumsBelow(mFolder.path() + L"\\guest"));
    }

    DriveFolder mOther{L'D'};
};

}  // namespace

TEST_F(LazyHost, BringsTheGuestsFilesToAFolderOnTheDriveOfTheCache)
{
    startLazyHost();
    const std::wstring folder = mFolder.path() + L"\\pasted\\deeper";
    pasteInto(folder);
    awaitBrought(folder, 1);
    expectBrought(folder);
    EXPECT_TRUE(waitForHost("landed in " + toUtf8(folder) + "\n"));
    EXPECT_EQ(countInHostOutput("notifies completion, result 0\n"), 1);
    EXPECT_EQ(endHost(), 0U);
}

TEST_F(LazyHost, BringsTheGuestsFilesToAnotherDrive)
{
    startLazyHost();
    pasteInto(mOther.path());
    awaitBrought(mOther.path(), 1);
    expectBrought(mOther.path());
    EXPECT_TRUE(waitForHost("Notify file lazy rendering copy done(0)"));
    EXPECT_EQ(endHost(), 0U);
}

TEST_F(LazyHost, BringsTheGuestsFilesToTheRootOfADrive)
{
    const std::wstring name = fs::path(mOther.path()).filename().wstring() + L" of the guest";
    addGuestFile(name + L"\\inside.bin", 1000);
    startLazyHost();
    pasteInto(L"D:\\");
    EXPECT_TRUE(waitForHost("brought 4 files, 3001005 bytes to D:\n", 60000));
    EXPECT_EQ(sha256OfFile(L"D:\\" + name + L"\\inside.bin"),
              sha256OfFile(mFolder.path() + L"\\guest\\" + name + L"\\inside.bin"));
    EXPECT_EQ(endHost(), 0U);
    for (const std::wstring& brought :
         {name, std::wstring(L"a.txt"), std::wstring(L"sub"), std::wstring(L"empty folder")})
        fs::remove_all(L"D:\\" + brought);
}

TEST_F(LazyHost, ServesASecondLandingOfOnePlaceholderAndNotifiesOnce)
{
    startLazyHost();
    pasteInto(mOther.path());
    awaitBrought(mOther.path(), 1);
    const std::string output = hostOutput();
    const std::size_t begin = output.rfind("Sparce file ") + std::string("Sparce file ").size();
    const std::wstring name = toUtf16(output.substr(begin, output.find(',', begin) - begin));
    const std::wstring second = mFolder.addFolder(L"second");
    lookIntoFolder(mFolder.path());
    lookIntoFolder(second);
    makeEmptyFile(second + L"\\" + name);
    awaitBrought(second, 1);
    expectBrought(mOther.path());
    expectBrought(second);
    EXPECT_EQ(countInHostOutput("notifies completion, result 0\n"), 1);
    EXPECT_EQ(endHost(), 0U);
}

TEST_F(LazyHost, IsToldOfTheUsersCopyAloneAndNotOfItsOwnPlaceholder)
{
    startLazyHost();
    pasteInto(mOther.path());
    awaitBrought(mOther.path(), 1);
    EXPECT_TRUE(waitForHost("File clipboard lazy renderer is ready, skip onDetectCopy"));
    // The first report is due two seconds after its start.
    EXPECT_TRUE(waitForHost("Sync clipboard to client end."));
    EXPECT_EQ(countInHostOutput("formats: "), 0);
    EXPECT_EQ(countInHostOutput("event: "), 0);
    EXPECT_EQ(endHost(), 0U);
    EXPECT_EQ(countInHostOutput("formats: File"), 1);
    EXPECT_EQ(countInHostOutput("list below "), 1);
}

TEST_F(LazyHost, KeepsWhatTheUserHasInTheCacheDirectory)
{
    const std::wstring kept = mFolder.addFile(L"cache\\users.txt", "precious");
    startLazyHost();
    EXPECT_TRUE(fileExists(kept));
    pasteInto(mOther.path());
    awaitBrought(mOther.path(), 1);
    EXPECT_EQ(endHost(), 0U);
    EXPECT_TRUE(fileExists(kept));
    EXPECT_EQ(sumsBelow(mFolder.path() + L"\\cache").size(), 2U);  // and an empty folder of the host's
}

// Otherwise the library would take the placeholder's own creation for a landing.
TEST_F(LazyHost, TakesItsCacheDirectoryInAnyLetters)
{
    std::wstring cache = mFolder.addFolder(L"Cache Of Mine");
    CharUpperBuffW(cache.data(), static_cast<DWORD>(cache.size()));
    cache[0] = L'c';
    ChildProcess host(L"clip-host.exe",
                      {L"--lazy", L"--verbose", L"--guest", mFolder.path() + L"\\guest", L"--cache", cache});
    EXPECT_TRUE(host.waitForOutput("offered "));
    const std::string name = toUtf8(fs::path(mFolder.path()).filename().wstring());
    EXPECT_NE(host.output().find("cache dir C:/" + name + "/Cache Of Mine/clip-host-placeholder/"), std::string::npos)
        << host.output();
}

TEST_F(LazyHost, ReplacesNothingAndReportsThatNotAllIsThere)
{
    startLazyHost();
    const std::wstring folder = mFolder.addFolder(L"pasted");
    const std::wstring kept = mFolder.addFile(L"pasted\\a.txt", "precious");
    const std::string before = sha256OfFile(kept);
    pasteInto(folder);
    EXPECT_TRUE(waitForHost("brought 2 files, 3000000 bytes of 3 files, 3000005 bytes to " + toUtf8(folder)));
    EXPECT_TRUE(waitForHost("cannot bring a.txt, error 80"));
    EXPECT_TRUE(waitForHost("notifies completion, result 1\n"));
    EXPECT_EQ(sha256OfFile(kept), before);
    EXPECT_EQ(endHost(), 0U);
}

// A paste may come just when the next list takes the place of its placeholder, and then finds nothing.
TEST_F(LazyHost, OffersAgainAndNotifiesForEachList)
{
    startLazyHost({L"--again", L"1500"});
    const auto notified = [this] { return countInHostOutput("notifies completion, result 0\n"); };
    int pastes = 0;
    EXPECT_TRUE(waitUntil(
        [&] {
            const int before = notified();
            ChildProcess child(L"clip-paste.exe", {mOther.path() + L"\\" + std::to_wstring(++pastes)});
            if (child.waitForExit() == kPasteWritten)
                waitUntil([&] { return notified() > before; }, 4000);
            return notified() >= 3;
        },
        60000));
    EXPECT_GE(countInHostOutput("offered "), 3);
    EXPECT_EQ(endHost(), 0U);
}

TEST(LazyHostCommandLine, RefusesWhatBelongsToStreams)
{
    for (const std::vector<std::wstring>& wrong :
         std::vector<std::vector<std::wstring>>{{L"--lazy"},
                                                {L"--guest", L"C:\\windows", L"--lazy", L"--veto"},
                                                {L"--guest", L"C:\\windows", L"--lazy", L"--rate", L"5"}}) {
        ChildProcess host(L"clip-host.exe", wrong);
        EXPECT_NE(host.waitForExit(), 0U);
        EXPECT_NE(host.output().find("--lazy"), std::string::npos) << host.output();
    }
}
