// How the OLE work thread is started and its jobs are placed, also where the platform refuses.
#include "support/failing_allocation.h"
#include "support/journal.h"
#include "work_thread_hooks.h"

using namespace sd::clip;

namespace {

BOOL WINAPI refusePost(DWORD thread, UINT message, WPARAM wParam, LPARAM lParam)
{
    gPosts.push_back({thread, message, wParam, lParam});
    SetLastError(1816);
    return FALSE;
}

HANDLE WINAPI refuseThread(LPSECURITY_ATTRIBUTES, SIZE_T, LPTHREAD_START_ROUTINE, LPVOID, DWORD, LPDWORD)
{
    SetLastError(8);
    return nullptr;
}

HANDLE WINAPI refuseThreadWithAnId(LPSECURITY_ATTRIBUTES, SIZE_T, LPTHREAD_START_ROUTINE, LPVOID, DWORD, LPDWORD id)
{
    *id = 5;
    SetLastError(8);
    return nullptr;
}

HANDLE WINAPI giveHandleWithoutId(LPSECURITY_ATTRIBUTES, SIZE_T, LPTHREAD_START_ROUTINE, LPVOID, DWORD, LPDWORD)
{
    SetLastError(8);
    return GetCurrentThread();
}

struct ThreadCall {
    LPSECURITY_ATTRIBUTES attributes;
    SIZE_T stack;
    LPTHREAD_START_ROUTINE procedure;
    LPVOID parameter;
    DWORD flags;
};
std::vector<ThreadCall> gThreads;

HANDLE WINAPI keepThread(LPSECURITY_ATTRIBUTES attributes, SIZE_T stack, LPTHREAD_START_ROUTINE procedure,
                         LPVOID parameter, DWORD flags, LPDWORD id)
{
    gThreads.push_back({attributes, stack, procedure, parameter, flags});
    return gReal<decltype(&CreateThread)>(attributes, stack, procedure, parameter, flags, id);
}

DWORD WINAPI endAtOnce(LPVOID)
{
    return 0;
}

HANDLE WINAPI startAThreadThatEnds(LPSECURITY_ATTRIBUTES, SIZE_T, LPTHREAD_START_ROUTINE, LPVOID, DWORD, LPDWORD id)
{
    return gReal<decltype(&CreateThread)>(nullptr, 0, endAtOnce, nullptr, 0, id);
}

BOOL WINAPI peekLate(LPMSG message, HWND window, UINT first, UINT last, UINT flags)
{
    Sleep(400);  // more than the thread has in any case
    return gReal<decltype(&PeekMessageW)>(message, window, first, last, flags);
}

std::vector<DWORD> gSleeps;

VOID WINAPI keepSleep(DWORD milliseconds)
{
    if (isTestThread())
        gSleeps.push_back(milliseconds);
    gReal<decltype(&Sleep)>(milliseconds);
}

DWORD gQueueWait = 0;

DWORD WINAPI keepQueueWait(DWORD count, const HANDLE* handles, BOOL all, DWORD milliseconds)
{
    if (isTestThread())
        gQueueWait = milliseconds;
    return gReal<decltype(&WaitForMultipleObjects)>(count, handles, all, milliseconds);
}

UINT WINAPI keepRegistration(LPCSTR name)
{
    Journal::shared().add(name);
    return gReal<decltype(&RegisterWindowMessageA)>(name);
}

HANDLE WINAPI refuseEvent(LPSECURITY_ATTRIBUTES, BOOL, BOOL, LPCWSTR)
{
    return nullptr;
}

HANDLE gQueueEvent = nullptr;  // the last event that was made
HANDLE gWorkThread = nullptr;

HANDLE WINAPI keepEvent(LPSECURITY_ATTRIBUTES security, BOOL manual, BOOL signalled, LPCWSTR name)
{
    gQueueEvent = gReal<decltype(&CreateEventW)>(security, manual, signalled, name);
    return gQueueEvent;
}

BOOL WINAPI noteClosedEvent(HANDLE handle)
{
    if (handle == gQueueEvent) {
        const bool hasEnded = WaitForSingleObject(gWorkThread, 0) == WAIT_OBJECT_0;
        Journal::shared().add(hasEnded ? "closed after the thread" : "closed while the thread runs");
    }
    return gReal<decltype(&CloseHandle)>(handle);
}

class WorkThreadStart : public WorkThreadFault {
protected:
    WorkThreadStart()
    {
        gQueueWait = 0;
        gThreads.clear();
        gSleeps.clear();
    }

    // The job is still there, unasked, and its caller got nothing to wait for.
    void expectPlacedInVain(const Future& future, std::uint32_t number) const
    {
        EXPECT_FALSE(future.valid());
        EXPECT_EQ(TestAccess::job(*mFile).id, number);
        EXPECT_TRUE(TestAccess::job(*mFile).func);
    }
};

}  // namespace

TEST_F(WorkThreadStart, TheMessagesAreRegisteredInTheirOrder)
{
    const Hook<decltype(&RegisterWindowMessageA)> hook("RegisterWindowMessageA", keepRegistration);
    const RemoteFormatFile file;
    EXPECT_EQ(Journal::shared().entries(), (std::vector<std::string>{"RemoteClipboardRpcServiceMessageSetOle",
                                                                     "RemoteClipboardRpcServiceMessageExit"}));
}

TEST_F(WorkThreadStart, TheFirstMessageCarriesTheNumberOne)
{
    const Hook<decltype(&PostThreadMessageW)> hook("PostThreadMessageW", keepPost);
    run([] {});
    run([] {});
    ASSERT_EQ(gPosts.size(), 2u);
    for (std::size_t i = 0; i < 2; ++i) {
        EXPECT_EQ(gPosts[i].thread, threadId());
        EXPECT_EQ(gPosts[i].message, TestAccess::setOleMessage(*mFile));
        EXPECT_EQ(gPosts[i].wParam, i + 1);
        EXPECT_EQ(gPosts[i].lParam, 0);
    }
}

TEST_F(WorkThreadStart, OneThreadIsStartedWithNothingSpecialAndGivenATenthOfASecond)
{
    const Hook<decltype(&CreateThread)> threads("CreateThread", keepThread);
    const Hook<decltype(&Sleep)> sleeps("Sleep", keepSleep);
    run([] {});
    run([] {});
    ASSERT_EQ(gThreads.size(), 1u);
    EXPECT_EQ(gThreads[0].attributes, nullptr);
    EXPECT_EQ(gThreads[0].stack, 0u);
    EXPECT_EQ(gThreads[0].procedure, &RemoteFormatFile::OleDataObjectRpcThreadMsgProc);
    EXPECT_EQ(gThreads[0].parameter, mFile.get());
    EXPECT_EQ(gThreads[0].flags, 0u);
    EXPECT_EQ(gSleeps, std::vector<DWORD>{100});
}

TEST_F(WorkThreadStart, WithoutMemoryForThePromiseNothingIsStartedOrPosted)
{
    const Hook<decltype(&PostThreadMessageW)> hook("PostThreadMessageW", keepPost);
    for (int which = 1; which <= 2; ++which) {
        RecordingLog::clear();
        std::function<void()> job = [] {};
        const FailingAllocation failing(which);
        const Future future = mFile->MoveToThread(std::move(job));
        EXPECT_TRUE(failing.failed());
        EXPECT_FALSE(future.valid());
        EXPECT_EQ(RecordingLog::messages(), std::vector<std::string>{"Construct promise failed!"});
        EXPECT_EQ(RecordingLog::lines()[0].level, 7);
        EXPECT_EQ(threadId(), 0u);
        EXPECT_TRUE(gPosts.empty());
    }
    EXPECT_EQ(run([] {}), FuncExecStatus::Executed);
    EXPECT_EQ(TestAccess::job(*mFile).id, 3u);
}

TEST_F(WorkThreadStart, AThreadThatCanNotBeStartedLeavesTheJobInTheSlot)
{
    const Hook<decltype(&PostThreadMessageW)> posts("PostThreadMessageW", keepPost);
    for (const auto refusal : {refuseThread, refuseThreadWithAnId, giveHandleWithoutId}) {
        RecordingLog::clear();
        mFile = std::make_unique<RemoteFormatFile>();
        const Hook<decltype(&CreateThread)> hook("CreateThread", refusal);
        expectPlacedInVain(mFile->MoveToThread([] {}), 1);
        EXPECT_EQ(RecordingLog::messages(), std::vector<std::string>{"CreateThread failed! errCode: 8"});
        EXPECT_EQ(RecordingLog::lines()[0].level, 7);
        EXPECT_EQ(threadId(), 0u);
    }
    EXPECT_TRUE(gPosts.empty());  // there is no thread that could be meant
}

TEST_F(WorkThreadStart, AfterAThreadThatCouldNotBeStartedTheNextJobTriesAgain)
{
    bool firstRan = false;
    {
        const Hook<decltype(&CreateThread)> hook("CreateThread", refuseThread);
        expectPlacedInVain(mFile->MoveToThread([&firstRan] { firstRan = true; }), 1);
    }
    EXPECT_EQ(run([] {}), FuncExecStatus::Executed);
    EXPECT_EQ(TestAccess::job(*mFile).id, 2u);
    EXPECT_FALSE(firstRan);
}

TEST_F(WorkThreadStart, AFailedPostLeavesTheJobInTheSlotUntilTheNextCall)
{
    run([] {});
    RecordingLog::clear();
    auto held = std::make_shared<int>(0);
    const std::weak_ptr<int> watch = held;
    {
        const Hook<decltype(&PostThreadMessageW)> hook("PostThreadMessageW", refusePost);
        expectPlacedInVain(mFile->MoveToThread([kept = std::move(held)] {}), 2);
    }
    EXPECT_EQ(RecordingLog::messages(),
              (std::vector<std::string>{"_userMsgSetOle id : 2", "PostThreadMessage failed! errCode: 1816"}));
    EXPECT_EQ(RecordingLog::lines()[1].level, 7);
    EXPECT_FALSE(watch.expired());
    EXPECT_EQ(run([] {}), FuncExecStatus::Executed);
    EXPECT_TRUE(watch.expired());
}

TEST_F(WorkThreadStart, AThreadThatMakesItsQueueLateStillGetsItsFirstJob)
{
    const Hook<decltype(&PeekMessageW)> hook("PeekMessageW", peekLate);
    EXPECT_EQ(run([] {}), FuncExecStatus::Executed);
    EXPECT_TRUE(RecordingLog::messages(7).empty());
}

TEST_F(WorkThreadStart, TheQueueIsWaitedForFiveSecondsAtMostAndNotOnceTheThreadHasEnded)
{
    const Hook<decltype(&CreateThread)> threads("CreateThread", startAThreadThatEnds);
    const Hook<decltype(&WaitForMultipleObjects)> waits("WaitForMultipleObjects", keepQueueWait);
    const auto begun = std::chrono::steady_clock::now();
    expectPlacedInVain(mFile->MoveToThread([] {}), 1);
    EXPECT_LT(std::chrono::steady_clock::now() - begun, std::chrono::seconds(3));
    EXPECT_EQ(gQueueWait, 5000u);
    EXPECT_TRUE(RecordingLog::hasLine(7, "PostThreadMessage failed! errCode: "));
}

TEST_F(WorkThreadStart, WithoutAnEventForTheQueueTheFixedTimeIsAllThereIs)
{
    const Hook<decltype(&CreateEventW)> hook("CreateEventW", refuseEvent);
    mFile = std::make_unique<RemoteFormatFile>();
    EXPECT_EQ(run([] {}), FuncExecStatus::Executed);
}

TEST_F(WorkThreadStart, TheEventForTheQueueIsClosedWithTheObjectOnceItsThreadHasEnded)
{
    const Hook<decltype(&CreateEventW)> events("CreateEventW", keepEvent);
    mFile = std::make_unique<RemoteFormatFile>();
    const HANDLE event = gQueueEvent;
    EXPECT_EQ(run([] {}), FuncExecStatus::Executed);
    gQueueEvent = event;
    gWorkThread = TestAccess::threadHandle(*mFile);
    Journal::shared().clear();
    RecordingLog::clear();
    const Hook<decltype(&CloseHandle)> closing("CloseHandle", noteClosedEvent);
    mFile.reset();
    EXPECT_EQ(Journal::shared().entries(),
              (std::vector<std::string>{"log 5 OLE Thread exit!\n", "closed after the thread"}));
}
