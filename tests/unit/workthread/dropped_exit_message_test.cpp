// An OLE work thread whose exit message somebody else's loop has dropped.
#include "host_on_work_thread.h"

using namespace sd::clip;

namespace {

class DroppedExitMessage : public HostOnWorkThread {
protected:
    // Ends the object on another thread while the host's code runs, up to the moment at which the exit is wanted.
    std::future<void> startToEnd()
    {
        RemoteFormatFile* const file = mFile.get();
        auto ended = std::async(std::launch::async, [owned = std::move(mFile)]() mutable { owned.reset(); });
        for (int i = 0; i < 6000 && !TestAccess::exitWanted(*file); ++i)
            Sleep(10);
        EXPECT_TRUE(TestAccess::exitWanted(*file));
        return ended;
    }

    // The thread ends long before the hour is over.
    static void expectEnd(std::future<void>& ended, DWORD thread, UINT exitMessage)
    {
        const bool isOver = ended.wait_for(kHang) == std::future_status::ready;
        EXPECT_TRUE(isOver);
        if (!isOver)
            PostThreadMessageW(thread, exitMessage, 0, 0);
        ended.get();
        EXPECT_EQ(RecordingLog::messages().back(), "OLE Thread exit!\n");
        EXPECT_EQ(RecordingLog::count(5, "OLE Thread exit!\n"), 1);
    }
};

}  // namespace

TEST_F(DroppedExitMessage, EndsTheThreadAsSoonAsTheHostsLoopIsOver)
{
    const DWORD thread = threadId();
    const UINT exitMessage = TestAccess::exitMessage(*mFile);
    HostCode host([exitMessage] { loopUntil(exitMessage); });
    startInPostedMessage(host);
    auto ended = startToEnd();
    host.goOn();
    expectEnd(ended, thread, exitMessage);
}

TEST_F(DroppedExitMessage, OfASentMessageEndsTheThreadToo)
{
    const DWORD thread = threadId();
    const UINT exitMessage = TestAccess::exitMessage(*mFile);
    HostCode host([exitMessage] { loopUntil(exitMessage); });
    startInSentMessage(host);
    auto ended = startToEnd();
    host.goOn();
    expectEnd(ended, thread, exitMessage);
}

TEST_F(DroppedExitMessage, ComesAfterTheJobThatWaits)
{
    const DWORD thread = threadId();
    const UINT exitMessage = TestAccess::exitMessage(*mFile);
    HostCode host([exitMessage] { loopUntil(exitMessage); });
    startInPostedMessage(host);
    Future job = mFile->MoveToThread([] {});
    auto ended = startToEnd();
    host.goOn();
    EXPECT_EQ(statusInTheEnd(job), FuncExecStatus::Executed);
    expectEnd(ended, thread, exitMessage);
}

TEST_F(DroppedExitMessage, IsNotTakenForOneThatStillWaits)
{
    const DWORD thread = threadId();
    const UINT exitMessage = TestAccess::exitMessage(*mFile);
    HostCode host([] {});
    startInPostedMessage(host);
    HostCode behind([] {});
    behind.goOn();
    PostMessageW(mWindow, kRunHost, 0, reinterpret_cast<LPARAM>(&behind));
    Future job = mFile->MoveToThread([] {});
    auto ended = startToEnd();
    host.goOn();
    expectEnd(ended, thread, exitMessage);
    EXPECT_TRUE(behind.isOver());
    EXPECT_EQ(statusOf(job), FuncExecStatus::Executed);
}

TEST_F(DroppedExitMessage, LeavesAQuitMessageToEndTheThreadSilently)
{
    const UINT exitMessage = TestAccess::exitMessage(*mFile);
    HostCode host([exitMessage] {
        loopUntil(exitMessage);
        PostQuitMessage(0);
    });
    startInPostedMessage(host);
    auto ended = startToEnd();
    host.goOn();
    EXPECT_EQ(ended.wait_for(kHang), std::future_status::ready);
    EXPECT_TRUE(RecordingLog::lines().empty());
}
