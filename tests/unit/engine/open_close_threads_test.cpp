// Open and Close from several threads. The note "open" is the engine's, but the system's clipboard is a thread's: what
// one thread has opened no other can close, and while it stays open nobody on the desktop can copy.
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <thread>

#include "engine_access.h"
#include "support/import_hook.h"
#include "support/recording_log.h"

using namespace sd::clip;

namespace {

// The system's clipboard, which one thread has open at a time; 0: none.
std::atomic<DWORD> gHolder{0};
std::atomic<int> gCloses{0};

BOOL WINAPI openAlone(HWND /*owner*/)
{
    DWORD none = 0;
    if (gHolder.compare_exchange_strong(none, GetCurrentThreadId()))
        return TRUE;
    SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
}

BOOL WINAPI closeOwn()
{
    ++gCloses;
    DWORD self = GetCurrentThreadId();
    if (gHolder.compare_exchange_strong(self, 0))
        return TRUE;
    SetLastError(ERROR_CLIPBOARD_NOT_OPEN);
    return FALSE;
}

void onAnotherThread(const std::function<void()>& function)
{
    std::thread(function).join();
}

class OpenCloseThreads : public testing::Test {
protected:
    OpenCloseThreads()
    {
        gHolder = 0;
        gCloses = 0;
    }

    ClipboardImpl& mEngine = TestAccess::makeEngine();
    const ImportHook<decltype(&OpenClipboard)> mOpen{nullptr, "OpenClipboard", &openAlone};
    const ImportHook<decltype(&CloseClipboard)> mClose{nullptr, "CloseClipboard", &closeOwn};
};

}  // namespace

TEST_F(OpenCloseThreads, WhatAnotherThreadsCloseCouldNotCloseIsClosedByTheThreadThatOpened)
{
    EXPECT_TRUE(mEngine.Open());
    onAnotherThread([this] { EXPECT_TRUE(mEngine.Close()); });
    EXPECT_EQ(gHolder, GetCurrentThreadId());
    RecordingLog::clear();
    EXPECT_TRUE(mEngine.Close());
    EXPECT_EQ(gHolder, 0u);
    EXPECT_EQ(RecordingLog::messages(),
              std::vector<std::string>{"Close clipboard from " + printAddress(&mEngine) + " is already done"});
}

// Whose answer is not looked at.
TEST_F(OpenCloseThreads, ACloseOnAnotherThreadAsksThePlatformAndClearsTheNote)
{
    EXPECT_TRUE(mEngine.Open());
    onAnotherThread([this] { EXPECT_TRUE(mEngine.Close()); });
    EXPECT_EQ(gCloses, 1);
    EXPECT_FALSE(TestAccess::opened(mEngine));
}

// As a host's detour beside a read that runs on the worker.
TEST_F(OpenCloseThreads, AnOpenAndCloseBesideAnotherThreadsOpenLeaveNothingOpen)
{
    EXPECT_TRUE(mEngine.Open());
    onAnotherThread([this] {
        mEngine.Open();
        mEngine.Close();
    });
    mEngine.Close();
    EXPECT_EQ(gHolder, 0u);
    EXPECT_FALSE(TestAccess::opened(mEngine));
    onAnotherThread([this] { EXPECT_TRUE(mEngine.Open()); });  // and it can be opened again
}

TEST_F(OpenCloseThreads, ACloseClosesNothingThatTheHostHasOpenedByItself)
{
    EXPECT_TRUE(OpenClipboard(nullptr));
    EXPECT_TRUE(mEngine.Close());
    EXPECT_EQ(gHolder, GetCurrentThreadId());
}

TEST_F(OpenCloseThreads, AtRandomFromTwoThreadsLeaveNothingOpen)
{
    constexpr int kRounds = 2000;
    const auto host = [this] {
        for (int i = 0; i < kRounds; ++i) {
            mEngine.Open();
            mEngine.Close();
        }
    };
    std::thread other(host);
    host();
    other.join();
    EXPECT_EQ(gHolder, 0u);
}
