// How the OLE work thread takes its messages, and how its object ends it.
#include <atomic>

#include "work_thread_hooks.h"

using namespace sd::clip;

namespace {

std::atomic<int> gErrorsLeft{0};
std::atomic<int> gGets{0};

BOOL WINAPI failToGet(LPMSG message, HWND window, UINT first, UINT last)
{
    EXPECT_EQ(window, nullptr);
    EXPECT_EQ(first, 0u);
    EXPECT_EQ(last, 0u);
    ++gGets;
    if (gErrorsLeft > 0) {
        --gErrorsLeft;
        return -1;
    }
    return gReal<decltype(&GetMessageW)>(message, window, first, last);
}

constexpr UINT kAcceleratorMessage = WM_APP + 7;
std::atomic<int> gAccelerators{0};

int WINAPI translateAccelerator(HWND window, HACCEL table, LPMSG message)
{
    EXPECT_EQ(window, message->hwnd);
    EXPECT_EQ(table, nullptr);
    if (message->message != kAcceleratorMessage)
        return gReal<decltype(&TranslateAcceleratorW)>(window, table, message);
    ++gAccelerators;
    return 1;
}

std::atomic<int> gDispatched{0};

LRESULT WINAPI countDispatch(const MSG* message)
{
    if (message->message == kAcceleratorMessage || message->message == kAcceleratorMessage + 1)
        ++gDispatched;
    return gReal<decltype(&DispatchMessageW)>(message);
}

struct Wait {
    HANDLE handle;
    DWORD milliseconds;
};
std::vector<Wait> gWaits;

DWORD WINAPI keepWait(HANDLE handle, DWORD milliseconds)
{
    if (isTestThread())
        gWaits.push_back({handle, milliseconds});
    return gReal<decltype(&WaitForSingleObject)>(handle, milliseconds);
}

// The thread has ended then, and seems not to have.
DWORD WINAPI keepWaitInVain(HANDLE handle, DWORD milliseconds)
{
    const DWORD result = gReal<decltype(&WaitForSingleObject)>(handle, 30000);
    if (!isTestThread())
        return result;
    gWaits.push_back({handle, milliseconds});
    return WAIT_TIMEOUT;
}

class WorkThreadLoop : public WorkThreadFault {
protected:
    WorkThreadLoop()
    {
        gWaits.clear();
    }
};

}  // namespace

TEST_F(WorkThreadLoop, AFailingGetMessageIsTriedAgain)
{
    const Hook<decltype(&GetMessageW)> hook("GetMessageW", failToGet);
    gErrorsLeft = 1;
    gGets = 0;
    EXPECT_EQ(run([] {}), FuncExecStatus::Executed);
    EXPECT_EQ(gErrorsLeft, 0);
    EXPECT_GE(gGets, 2);
    mFile.reset();  // the thread calls the replacement
}

TEST_F(WorkThreadLoop, AMessageThatIsAnAcceleratorIsNotDispatched)
{
    const Hook<decltype(&TranslateAcceleratorW)> accelerator("TranslateAcceleratorW", translateAccelerator);
    const Hook<decltype(&DispatchMessageW)> dispatch("DispatchMessageW", countDispatch);
    gAccelerators = 0;
    gDispatched = 0;
    run([] {});
    PostThreadMessageW(threadId(), kAcceleratorMessage, 0, 0);
    run([] {});  // behind it
    EXPECT_EQ(gAccelerators, 1);
    EXPECT_EQ(gDispatched, 0);
    PostThreadMessageW(threadId(), kAcceleratorMessage + 1, 0, 0);
    run([] {});
    EXPECT_EQ(gDispatched, 1);
    mFile.reset();  // the thread calls the replacements
}

TEST_F(WorkThreadLoop, TheDestructorAsksTheThreadToEndAndWaitsForIt)
{
    run([] {});
    const DWORD id = threadId();
    const HANDLE handle = threadHandle();
    const UINT message = TestAccess::exitMessage(*mFile);
    RecordingLog::clear();
    const Hook<decltype(&PostThreadMessageW)> posts("PostThreadMessageW", keepPost);
    const Hook<decltype(&WaitForSingleObject)> waits("WaitForSingleObject", keepWait);
    mFile.reset();
    ASSERT_GE(gPosts.size(), 1u);  // on a busy machine wakes follow
    EXPECT_EQ(gPosts[0].thread, id);
    EXPECT_EQ(gPosts[0].message, message);
    EXPECT_EQ(gPosts[0].wParam, 0u);
    EXPECT_EQ(gPosts[0].lParam, 0);
    ASSERT_GE(gWaits.size(), 1u);
    EXPECT_EQ(gWaits[0].handle, handle);
    EXPECT_EQ(RecordingLog::messages(), std::vector<std::string>{"OLE Thread exit!\n"});
    EXPECT_EQ(RecordingLog::lines()[0].level, 5);

    // The handle is left open.
    DWORD exitCode = 1;
    EXPECT_TRUE(GetExitCodeThread(handle, &exitCode));
    EXPECT_EQ(exitCode, 0u);
    CloseHandle(handle);
}

TEST_F(WorkThreadLoop, TheDestructorWaitsAnHourInAllAndWakesTheThreadOnceASecond)
{
    run([] {});
    const DWORD id = threadId();
    const HANDLE handle = threadHandle();
    const Hook<decltype(&PostThreadMessageW)> posts("PostThreadMessageW", keepPost);
    const Hook<decltype(&WaitForSingleObject)> waits("WaitForSingleObject", keepWaitInVain);
    mFile.reset();
    DWORD waited = 0;
    for (const Wait& wait : gWaits) {
        EXPECT_EQ(wait.handle, handle);
        EXPECT_EQ(wait.milliseconds, 1000u);
        waited += wait.milliseconds;
    }
    EXPECT_EQ(waited, 3'600'000u);
    EXPECT_EQ(gPosts.size(), 1 + gWaits.size());
    for (std::size_t i = 1; i < gPosts.size(); ++i) {
        EXPECT_EQ(gPosts[i].thread, id);
        EXPECT_EQ(gPosts[i].message, static_cast<UINT>(WM_NULL));
    }
    CloseHandle(handle);
}

TEST_F(WorkThreadLoop, TheDestructorWithoutAThreadPostsAndWaitsForNothing)
{
    const Hook<decltype(&PostThreadMessageW)> posts("PostThreadMessageW", keepPost);
    const Hook<decltype(&WaitForSingleObject)> waits("WaitForSingleObject", keepWait);
    mFile.reset();
    EXPECT_TRUE(gPosts.empty());
    EXPECT_TRUE(gWaits.empty());
}

TEST_F(WorkThreadLoop, TheDestructorWaitsForNoThreadThatCanNotBeAsked)
{
    run([] {});
    PostThreadMessageW(threadId(), WM_QUIT, 0, 0);
    ASSERT_TRUE(threadEnds());
    const Hook<decltype(&PostThreadMessageW)> posts("PostThreadMessageW", keepPost);
    const Hook<decltype(&WaitForSingleObject)> waits("WaitForSingleObject", keepWait);
    mFile.reset();
    EXPECT_EQ(gPosts.size(), 1u);
    EXPECT_TRUE(gWaits.empty());
}

TEST_F(WorkThreadLoop, TheDestructorWaitsForTheJobThatRuns)
{
    std::atomic<bool> finished{false};
    std::promise<void> begun;
    mFile->MoveToThread([&] {
        begun.set_value();
        Sleep(200);
        finished = true;
    });
    begun.get_future().wait();
    mFile.reset();
    EXPECT_TRUE(finished);
}

TEST_F(WorkThreadLoop, TheDestructorDiscardsAJobThatNeverCameToRun)
{
    const HeldJob held;
    Future running = mFile->MoveToThread(held.function());
    ASSERT_TRUE(held.begins());
    PostThreadMessageW(threadId(), WM_QUIT, 0, 0);
    Future pending = mFile->MoveToThread([] {});  // its message lies behind the one that ends the thread
    held.letGo();
    EXPECT_EQ(statusOf(running), FuncExecStatus::Executed);
    ASSERT_TRUE(threadEnds());
    EXPECT_FALSE(isReady(pending));
    mFile.reset();
    EXPECT_EQ(statusOf(pending), FuncExecStatus::Discarded);
}
