// Jobs of the OLE work thread whose messages somebody else's loop has dropped.
#include "host_on_work_thread.h"
#include "support/wait_until.h"

using namespace sd::clip;

namespace {

BOOL WINAPI refusePost(DWORD, UINT, WPARAM, LPARAM)
{
    return FALSE;
}

UINT WINAPI refuseRegistration(LPCSTR)
{
    return 0;
}

class DroppedMessage : public HostOnWorkThread {};

}  // namespace

TEST_F(DroppedMessage, ItsJobRunsAsSoonAsTheHostsLoopIsOver)
{
    HostCode host(loopUntilJob());
    startInPostedMessage(host);
    bool wasOver = false;
    Future job = mFile->MoveToThread([&] { wasOver = host.isOver(); });
    EXPECT_FALSE(isReady(job));
    host.goOn();
    EXPECT_EQ(statusInTheEnd(job), FuncExecStatus::Executed);  // without being woken
    EXPECT_TRUE(wasOver);
    EXPECT_EQ(RecordingLog::messages(), std::vector<std::string>{"_userMsgSetOle id : 2"});
    EXPECT_EQ(run([] {}), FuncExecStatus::Executed);
}

TEST_F(DroppedMessage, ItsJobRunsAfterAJobWithALoopToo)
{
    HostCode host(loopUntilJob());
    Future first = mFile->MoveToThread([&] { host.run(); });
    ASSERT_TRUE(host.begins());
    Future second = mFile->MoveToThread([] {});
    host.goOn();
    EXPECT_EQ(statusOf(first), FuncExecStatus::Executed);
    EXPECT_EQ(statusInTheEnd(second), FuncExecStatus::Executed);
}

TEST_F(DroppedMessage, ItsJobMayDropTheNextOnesMessage)
{
    HostCode host(loopUntilJob());
    startInPostedMessage(host);
    Future second;
    Future first = mFile->MoveToThread([&] {
        second = mFile->MoveToThread([] {});
        loopUntil(TestAccess::setOleMessage(*mFile));
    });
    host.goOn();
    ASSERT_EQ(statusInTheEnd(first), FuncExecStatus::Executed);
    EXPECT_EQ(statusInTheEnd(second), FuncExecStatus::Executed);
}

TEST_F(DroppedMessage, ItsJobRunsWithoutTheLock)
{
    HostCode host(loopUntilJob());
    startInPostedMessage(host);
    bool lockWasFree = false;
    Future job = mFile->MoveToThread([&] {
        lockWasFree = TestAccess::jobLock(*mFile).try_lock();
        if (lockWasFree)
            TestAccess::jobLock(*mFile).unlock();
    });
    host.goOn();
    EXPECT_EQ(statusInTheEnd(job), FuncExecStatus::Executed);
    EXPECT_TRUE(lockWasFree);
}

// The thread stands in its wait again, and who waits for the job wakes it.
TEST_F(DroppedMessage, ASentMessagesJobRunsWhenTheThreadIsWoken)
{
    HostCode host(loopUntilJob());
    startInSentMessage(host);
    Future job = mFile->MoveToThread([] {});
    host.goOn();
    EXPECT_EQ(statusAfterWakes(job), FuncExecStatus::Executed);
}

TEST_F(DroppedMessage, ASentMessageThatIsServedByTheLookItselfIsSeen)
{
    const HeldJob held;
    Future running = mFile->MoveToThread(held.function());
    ASSERT_TRUE(held.begins());
    HostCode host(loopUntilJob());
    host.goOn();
    SendNotifyMessageW(mWindow, kRunHost, 0, reinterpret_cast<LPARAM>(&host));
    Future job = mFile->MoveToThread([] {});
    held.letGo();
    EXPECT_EQ(statusOf(running), FuncExecStatus::Executed);
    EXPECT_EQ(statusInTheEnd(job), FuncExecStatus::Executed);
    EXPECT_TRUE(host.isOver());
}

TEST_F(DroppedMessage, AJobThatComesDuringTheLookIsLeftToItsOwnMessage)
{
    const HeldJob held;
    Future running = mFile->MoveToThread(held.function());
    ASSERT_TRUE(held.begins());
    Future newer;
    HostCode host([&] {
        loopUntil(TestAccess::setOleMessage(*mFile));
        newer = mFile->MoveToThread([] {});
        loopUntil(TestAccess::setOleMessage(*mFile));
    });
    host.goOn();
    SendNotifyMessageW(mWindow, kRunHost, 0, reinterpret_cast<LPARAM>(&host));
    bool ran = false;
    Future older = mFile->MoveToThread([&ran] { ran = true; });
    held.letGo();
    EXPECT_EQ(statusOf(running), FuncExecStatus::Executed);
    EXPECT_EQ(statusInTheEnd(older), FuncExecStatus::Discarded);
    ASSERT_TRUE(waitUntil([&] { return host.isOver(); }));
    EXPECT_EQ(statusAfterWakes(newer), FuncExecStatus::Executed);
    EXPECT_FALSE(ran);
}

TEST_F(DroppedMessage, AJobThatWasWithdrawnDoesNotRun)
{
    HostCode host(loopUntilJob());
    startInPostedMessage(host);
    bool ran = false;
    Future job = mFile->MoveToThread([&ran] { ran = true; });
    mFile->MoveToThread(nullptr);
    host.goOn();
    EXPECT_EQ(statusOf(job), FuncExecStatus::Discarded);
    waitForLoop();
    EXPECT_FALSE(ran);
    EXPECT_EQ(run([] {}), FuncExecStatus::Executed);
}

TEST_F(DroppedMessage, AStaleMessageInTheQueueStillDiscardsTheJob)
{
    HostCode host(loopUntilJob());
    startInPostedMessage(host);
    bool ran = false;
    Future job = mFile->MoveToThread([&ran] { ran = true; });
    PostThreadMessageW(threadId(), TestAccess::setOleMessage(*mFile), 77, 0);  // stays behind the host's loop
    host.goOn();
    EXPECT_EQ(statusOf(job), FuncExecStatus::Discarded);
    EXPECT_FALSE(ran);
}

TEST_F(DroppedMessage, OfJobsWhoseMessagesWereAllDroppedTheLastRuns)
{
    constexpr UINT kLeave = WM_APP + 2;
    HostCode host([] { loopUntil(kLeave); });
    startInPostedMessage(host);
    int ran = 0;
    Future first = mFile->MoveToThread([&ran] { ran += 1; });
    Future second = mFile->MoveToThread([&ran] { ran += 10; });
    PostThreadMessageW(threadId(), kLeave, 0, 0);
    host.goOn();
    EXPECT_EQ(statusOf(first), FuncExecStatus::Discarded);
    EXPECT_EQ(statusInTheEnd(second), FuncExecStatus::Executed);
    EXPECT_EQ(ran, 10);
}

TEST_F(DroppedMessage, AJobWhosePostFailedWaitsToBeDiscarded)
{
    auto held = std::make_shared<int>(0);
    const std::weak_ptr<int> watch = held;
    bool ran = false;
    {
        const Hook<decltype(&PostThreadMessageW)> hook("PostThreadMessageW", refusePost);
        EXPECT_FALSE(mFile->MoveToThread([&ran, kept = std::move(held)] { ran = true; }).valid());
    }
    waitForLoop();
    EXPECT_FALSE(ran);
    EXPECT_FALSE(watch.expired());
    EXPECT_EQ(run([] {}), FuncExecStatus::Executed);
    EXPECT_FALSE(ran);
    EXPECT_TRUE(watch.expired());
}

// It passes the filter of a look for another message.
TEST_F(DroppedMessage, AQuitMessageThatWaitsDoesNotStandInTheWayAndEndsTheThreadThen)
{
    HostCode host([this] {
        loopUntil(TestAccess::setOleMessage(*mFile));
        PostQuitMessage(0);
    });
    startInPostedMessage(host);
    Future job = mFile->MoveToThread([] {});
    host.goOn();
    EXPECT_EQ(statusInTheEnd(job), FuncExecStatus::Executed);
    EXPECT_TRUE(threadEnds());
    EXPECT_EQ(RecordingLog::messages(), std::vector<std::string>{"_userMsgSetOle id : 2"});
}

TEST_F(DroppedMessage, AWakeIsAMessageThatMeansNothing)
{
    const Hook<decltype(&PostThreadMessageW)> posts("PostThreadMessageW", keepPost);
    mFile->Wake();
    ASSERT_EQ(gPosts.size(), 1u);
    EXPECT_EQ(gPosts[0].thread, threadId());
    EXPECT_EQ(gPosts[0].message, static_cast<UINT>(WM_NULL));
    EXPECT_EQ(run([] {}), FuncExecStatus::Executed);  // behind it
    EXPECT_EQ(RecordingLog::messages(), std::vector<std::string>{"_userMsgSetOle id : 2"});
}

TEST_F(DroppedMessage, NobodyIsWokenBeforeThereIsAThread)
{
    const RemoteFormatFile file;
    const Hook<decltype(&PostThreadMessageW)> posts("PostThreadMessageW", keepPost);
    file.Wake();
    EXPECT_TRUE(gPosts.empty());
}

// Their number is 0 then, which is that of a wake.
TEST_F(DroppedMessage, NobodyIsWokenWhereTheMessagesAreNotRegistered)
{
    const Hook<decltype(&RegisterWindowMessageA)> registrations("RegisterWindowMessageA", refuseRegistration);
    RemoteFormatFile file;
    Future job = file.MoveToThread([] {});
    EXPECT_EQ(statusOf(job), FuncExecStatus::Executed);
    const Hook<decltype(&PostThreadMessageW)> posts("PostThreadMessageW", keepPost);
    file.Wake();
    EXPECT_TRUE(gPosts.empty());
    PostThreadMessageW(TestAccess::threadId(file), WM_QUIT, 0, 0);
}
