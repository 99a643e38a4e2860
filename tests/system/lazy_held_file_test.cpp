// A placeholder that another program still has open where it landed.
#include <optional>

#include "example_support/utf8_arguments.h"
#include "lazy_test.h"
#include "support/recording_log.h"
#include "support/test_roles.h"

namespace {

// Makes a file as a paste does and keeps it open for so many milliseconds; others may read it, but not remove it.
const TestRole landRole("land and hold", [](const std::vector<std::string>& arguments) {
    const HANDLE file = CreateFileW(toUtf16(arguments.at(0)).c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                                    CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return 1;
    Sleep(static_cast<DWORD>(std::stoul(arguments.at(1))));
    CloseHandle(file);
    return 0;
});

class LazyHeldFile : public LazyTest {
protected:
    // Has another process land the placeholder and hold it, until the watcher has looked at it.
    void landHeldFor(int milliseconds)
    {
        mLanded = mOther.path() + L"\\" + placeholderName();
        for (int i = 0; i < 20; ++i) {
            settle(L'D');
            mReads.forget(mLanded);
            mHolder.emplace(ChildProcess::inRole(L"land and hold", {mLanded, std::to_wstring(milliseconds)}));
            ASSERT_TRUE(mReads.waitUntilGiven(mLanded));
            if (!mReads.find(mLanded)->isMissedLanding())
                return;
            mHolder->terminate(1);
            mHolder->waitForExit();
            DeleteFileW(mLanded.c_str());
        }
    }

    static int countAttempts()
    {
        return RecordingLog::count(6, "Failed to remove target file after lazy rendering failed due to " +
                                          std::to_string(ERROR_SHARING_VIOLATION));
    }

    std::wstring mLanded;
    std::optional<ChildProcess> mHolder;
};

}  // namespace

TEST_F(LazyHeldFile, ForOneSecondIsRemovedOnceItIsFree)
{
    const auto list = arm();
    landHeldFor(1000);
    expectLanded(*list, 1, mOther.path());
    EXPECT_FALSE(fileExists(mLanded));
    EXPECT_GE(countAttempts(), 1);
    EXPECT_LE(countAttempts(), 5);
    EXPECT_EQ(mHolder->waitForExit(), 0U);
}

TEST_F(LazyHeldFile, ForFiveSecondsStaysAndTheHostIsToldAllTheSame)
{
    const auto list = arm();
    landHeldFor(5000);
    expectLanded(*list, 1, mOther.path());
    EXPECT_TRUE(mHolder->running());
    EXPECT_EQ(countAttempts(), 5);
    EXPECT_EQ(RecordingLog::count(5, "Failed to remove target file after retry 5 times, last error " +
                                         std::to_string(ERROR_SHARING_VIOLATION)),
              1);
    EXPECT_FALSE(RecordingLog::hasLine(5, "Remove target file due to lazy rendering success"));
    EXPECT_EQ(mHolder->waitForExit(), 0U);
    EXPECT_TRUE(fileExists(mLanded));
}

// The watcher that waits for the file is the other drive's too: they share a lock. Nothing is lost.
TEST_F(LazyHeldFile, HoldsUpALandingOnTheOtherDriveAndNoMore)
{
    const auto list = arm();
    landHeldFor(1000);
    landIn(mFolder.path());
    ASSERT_TRUE(list->waitForLandings(2));
    EXPECT_EQ(list->landings()[0].root, toUtf8(mOther.path()));
    EXPECT_EQ(list->landings()[1].root, toUtf8(mFolder.path()));
    EXPECT_EQ(mHolder->waitForExit(), 0U);
}
