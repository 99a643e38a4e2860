#include <gtest/gtest.h>

#include "engine_access.h"
#include "support/import_hook.h"
#include "support/journal.h"
#include "support/recording_log.h"

using namespace sd::clip;

namespace {

constexpr DWORD kAccessDenied = 5;

int gFailures = 0;  // how many attempts fail before one succeeds
int gOpens = 0;
int gPauses = 0;

BOOL WINAPI openAfterFailures(HWND owner)
{
    EXPECT_EQ(owner, nullptr);
    SetLastError(kAccessDenied);
    return gOpens++ >= gFailures;
}

// The system clipboard is replaced: attempts are counted, the clipboard is closed in the journal only.
class ClipboardAccess : public testing::Test {
protected:
    ClipboardAccess()
    {
        gFailures = 0;
        gOpens = 0;
        gPauses = 0;
    }

    ClipboardImpl& mEngine = TestAccess::makeEngine();
    const std::string mSelf = printAddress(&mEngine);
    const ImportHook<decltype(&OpenClipboard)> mOpen{nullptr, "OpenClipboard", &openAfterFailures};
    const ImportHook<decltype(&CloseClipboard)> mClose{nullptr, "CloseClipboard", +[]() -> BOOL {
                                                           Journal::shared().add("CloseClipboard");
                                                           return TRUE;
                                                       }};
    const ImportHook<decltype(&Sleep)> mSleep{nullptr, "Sleep", +[](DWORD milliseconds) {
                                                  if (milliseconds == 5)
                                                      ++gPauses;
                                                  else
                                                      SleepEx(milliseconds, FALSE);  // somebody else's
                                              }};
};

}  // namespace

TEST_F(ClipboardAccess, TheFirstAttemptIsLoggedAsNumberZero)
{
    EXPECT_TRUE(mEngine.Open());
    EXPECT_TRUE(TestAccess::opened(mEngine));
    EXPECT_EQ(gOpens, 1);
    EXPECT_EQ(gPauses, 0);
    ASSERT_EQ(RecordingLog::lines().size(), 1u);
    const LogLine line = RecordingLog::lines()[0];
    EXPECT_EQ(line.level, 5);
    EXPECT_EQ(line.format, "%s %s(%d): %s:%d %s Open clipboard from %p\xEF\xBC\x8C attempts = %d");
    EXPECT_EQ(line.message, "Open clipboard from " + mSelf + "\xEF\xBC\x8C attempts = 0");
}

TEST_F(ClipboardAccess, AClipboardThatIsFreeAtTheLastAttemptIsOpened)
{
    gFailures = 9;
    EXPECT_TRUE(mEngine.Open());
    EXPECT_EQ(gOpens, 10);
    EXPECT_EQ(gPauses, 9);
    EXPECT_EQ(RecordingLog::count(5, "Open clipboard from " + mSelf + "\xEF\xBC\x8C attempts = 9"), 1);
}

TEST_F(ClipboardAccess, TenFailuresEndWithTheErrorAfterATenthPause)
{
    gFailures = 100;
    EXPECT_FALSE(mEngine.Open());
    EXPECT_FALSE(TestAccess::opened(mEngine));
    EXPECT_EQ(gOpens, 10);
    EXPECT_EQ(gPauses, 10);
    ASSERT_EQ(RecordingLog::lines().size(), 1u);
    const LogLine line = RecordingLog::lines()[0];
    EXPECT_EQ(line.level, 6);
    EXPECT_EQ(line.format, "%s %s(%d): %s:%d %s Open clipboard fail from %p. error:%d");
    EXPECT_EQ(line.message, "Open clipboard fail from " + mSelf + ". error:5");
}

TEST_F(ClipboardAccess, OpeningTwiceNeedsOneCloseOnly)
{
    EXPECT_TRUE(mEngine.Open());
    EXPECT_TRUE(mEngine.Open());
    EXPECT_EQ(gOpens, 1);
    EXPECT_EQ(RecordingLog::messages(5).at(1), "Open clipboard from " + mSelf + " is already done");

    EXPECT_TRUE(mEngine.Close());
    EXPECT_FALSE(TestAccess::opened(mEngine));
    EXPECT_EQ(RecordingLog::messages(5).at(2), "Close clipboard from " + mSelf);
    RecordingLog::clear();
    EXPECT_TRUE(mEngine.Close());
    EXPECT_EQ(RecordingLog::messages(5),
              std::vector<std::string>{"Close clipboard from " + mSelf + " is already done"});
    EXPECT_EQ(Journal::shared().entries().back(), "log 5 Close clipboard from " + mSelf + " is already done");
}

TEST_F(ClipboardAccess, CloseLogsBeforeItCloses)
{
    mEngine.Open();
    mEngine.Close();
    const int logged = Journal::shared().find("log 5 Close clipboard from ");
    ASSERT_GE(logged, 0);
    EXPECT_EQ(Journal::shared().find("CloseClipboard"), logged + 1);
}

TEST_F(ClipboardAccess, CloseWithoutOpenSucceedsAndClosesNothing)
{
    EXPECT_TRUE(mEngine.Close());
    EXPECT_EQ(Journal::shared().find("CloseClipboard"), -1);
    EXPECT_EQ(RecordingLog::messages(5),
              std::vector<std::string>{"Close clipboard from " + mSelf + " is already done"});
}

TEST(ClipboardAccessForReal, TheClipboardIsOpenUntilClose)
{
    ClipboardImpl& engine = TestAccess::makeEngine();
    ASSERT_TRUE(engine.Open());
    EXPECT_TRUE(EmptyClipboard());  // only who has it open may
    EXPECT_TRUE(engine.Close());
    EXPECT_FALSE(EmptyClipboard());
}
