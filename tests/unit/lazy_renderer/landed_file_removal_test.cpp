// The placeholder is taken away from where it landed before the host is called, with patience.
#include <gtest/gtest.h>
#include <windows.h>

#include <chrono>
#include <thread>

#include "landing_target.h"
#include "renderer_access.h"
#include "support/recording_log.h"
#include "support/temporary_folder.h"

using namespace sd::clip;

namespace {

const std::string kPath = "D:\\a.txt.12345678";
const std::string kAttempt = "DeleteFileW " + kPath;
const char kRetry[] = "log 6 Failed to remove target file after lazy rendering failed due to 32";
const char kSleep[] = "Sleep 400";
const char kGivenUp[] = "log 5 Failed to remove target file after retry 5 times, last error 32";
const char kRemoved[] = "log 5 Remove target file due to lazy rendering success";

class LandedFileRemoval : public testing::Test {
protected:
    LandedFileRemoval()
    {
        TestAccess::arm(mRenderer,
                        makeGuestRecord({"a.txt"},
                                        [](const std::shared_ptr<ClipboardFileDataEx>&) {
                                            Journal::shared().add("host");
                                            return 0;
                                        }),
                        "12345678");
    }

    void land(const std::string& folder)
    {
        const auto lock = TestAccess::lock(mRenderer);
        TestAccess::renderCopy(mRenderer, folder, "", "a.txt.12345678");
    }

    // What is done after the two lines of the beginning, with that many attempts that fail.
    JournalEntries removeWith(int failingDeletions)
    {
        const InventedTarget target(failingDeletions);
        Journal::shared().clear();
        land("D:\\");
        JournalEntries entries = Journal::shared().entries();
        entries.erase(entries.begin(), entries.begin() + 2);
        EXPECT_EQ(entries.back().rfind("log 7 Lazy rendering file copy(FullPostProcessMode)", 0), 0u);
        entries.pop_back();
        return entries;
    }

    static JournalEntries makeRetries(int count)
    {
        JournalEntries entries;
        for (int i = 0; i < count; ++i)
            entries.insert(entries.end(), {kAttempt, kRetry, kSleep});
        return entries;
    }

    FileClipboardLazyRenderer mRenderer;
};

// Opened as an application does that does not let others delete it.
class HeldFile {
public:
    explicit HeldFile(const std::wstring& path)
        : mFile(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0,
                            nullptr))
    {
        EXPECT_NE(mFile, INVALID_HANDLE_VALUE);
    }
    ~HeldFile()
    {
        CloseHandle(mFile);
    }
    HeldFile(const HeldFile&) = delete;
    HeldFile& operator=(const HeldFile&) = delete;

private:
    HANDLE mFile;
};

}  // namespace

TEST_F(LandedFileRemoval, AnAttemptThatSucceedsBeforeTheSixthIsTold)
{
    for (int failing = 0; failing < 5; ++failing) {
        JournalEntries expected = makeRetries(failing);
        expected.insert(expected.end(),
                        {kAttempt, kRemoved, "SHChangeNotify 4 5 " + kPath, "SHChangeNotify 4096 5 " + kPath, "host"});
        EXPECT_EQ(removeWith(failing), expected) << failing;
    }
}

TEST_F(LandedFileRemoval, ASixthAttemptThatSucceedsIsReportedAsAFailureAndToldToNobody)
{
    JournalEntries expected = makeRetries(5);
    expected.insert(expected.end(), {kAttempt, kGivenUp, "host"});
    EXPECT_EQ(removeWith(5), expected);
}

TEST_F(LandedFileRemoval, AfterSixFailedAttemptsTheHostIsCalledAllTheSame)
{
    JournalEntries expected = makeRetries(5);
    expected.insert(expected.end(), {kAttempt, kGivenUp, "host"});
    EXPECT_EQ(removeWith(6), expected);
    EXPECT_EQ(removeWith(1000), expected);
}

TEST_F(LandedFileRemoval, TheFileIsGoneWhenTheHostIsCalled)
{
    const TemporaryFolder folder;
    const std::wstring file = folder.addFile(L"a.txt.12345678");
    folder.addFile(L"b.txt");
    bool wasThere = true;
    TestAccess::arm(mRenderer,
                    makeGuestRecord({"a.txt"},
                                    [&](const std::shared_ptr<ClipboardFileDataEx>&) {
                                        wasThere = fileExists(file);
                                        return 0;
                                    }),
                    "12345678");
    land(folder.utf8Path() + "\\");
    EXPECT_FALSE(wasThere);
    EXPECT_EQ(listNames(folder.path()), std::vector<std::wstring>{L"b.txt"});
}

TEST_F(LandedFileRemoval, AFileThatIsHeldOpenForAMomentIsRemoved)
{
    const TemporaryFolder folder;
    const std::wstring file = folder.addFile(L"a.txt.12345678");
    auto held = std::make_unique<HeldFile>(file);
    std::thread releaser([&held] {
        while (RecordingLog::messages(6).size() < 2)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        held = nullptr;
    });
    land(folder.utf8Path() + "\\");
    releaser.join();
    EXPECT_FALSE(fileExists(file));
    EXPECT_EQ(RecordingLog::count(5, "Remove target file due to lazy rendering success"), 1);
    EXPECT_GE(Journal::shared().find("host"), 0);
}

TEST_F(LandedFileRemoval, AFileThatIsHeldOpenForLongerThanTwoSecondsStaysAndTheHostIsCalled)
{
    const TemporaryFolder folder;
    const std::wstring file = folder.addFile(L"a.txt.12345678");
    const HeldFile held(file);
    const auto begin = std::chrono::steady_clock::now();
    land(folder.utf8Path() + "\\");
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(1950));  // five sleeps
    EXPECT_TRUE(fileExists(file));
    EXPECT_EQ(RecordingLog::count(6, "Failed to remove target file after lazy rendering failed due to 32"), 5);
    EXPECT_EQ(RecordingLog::count(5, "Failed to remove target file after retry 5 times, last error 32"), 1);
    EXPECT_GE(Journal::shared().find("host"), 0);
}

TEST_F(LandedFileRemoval, AFileThatIsAlreadyGoneIsLookedForSixTimes)
{
    const TemporaryFolder folder;
    static const auto wait = findInKernel32<decltype(&Sleep)>("Sleep");
    const ImportHook<decltype(&Sleep)> sleep(
        nullptr, "Sleep", +[](DWORD milliseconds) { wait(milliseconds == 400 ? 0 : milliseconds); });
    land(folder.utf8Path() + "\\");
    EXPECT_EQ(RecordingLog::count(6, "Failed to remove target file after lazy rendering failed due to 2"), 5);
    EXPECT_EQ(RecordingLog::count(5, "Failed to remove target file after retry 5 times, last error 2"), 1);
    EXPECT_GE(Journal::shared().find("host"), 0);
}
