// The OLE work thread where the platform refuses, and how exactly it is asked.
#include <atomic>

#include "support/failing_allocation.h"
#include "support/import_hook.h"
#include "support/journal.h"
#include "work_thread_fixture.h"
#include "workthread/remote_format_file.h"

using namespace sd::clip;

namespace {

template <class Function>
Function gReal = nullptr;

// The runtime waits and sleeps on other threads too; only the test's own calls are looked at.
DWORD gTestThread = 0;

bool isTestThread()
{
    return GetCurrentThreadId() == gTestThread;
}

struct Post {
    DWORD thread;
    UINT message;
    WPARAM wParam;
    LPARAM lParam;
};
std::vector<Post> gPosts;

BOOL WINAPI keepPost(DWORD thread, UINT message, WPARAM wParam, LPARAM lParam)
{
    gPosts.push_back({thread, message, wParam, lParam});
    return gReal<decltype(&PostThreadMessageW)>(thread, message, wParam, lParam);
}

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

UINT WINAPI keepRegistration(LPCSTR name)
{
    Journal::shared().add(name);
    return gReal<decltype(&RegisterWindowMessageA)>(name);
}

HANDLE WINAPI refuseEvent(LPSECURITY_ATTRIBUTES, BOOL, BOOL, LPCWSTR)
{
    return nullptr;
}

// An ImportHook whose replacement can reach the real function.
template <class Function>
class Hook : public ImportHook<Function> {
public:
    Hook(const char* name, Function replacement) : ImportHook<Function>(nullptr, name, replacement)
    {
        gReal<Function> = this->real();
    }
};

class WorkThreadFault : public WorkThread {
protected:
    WorkThreadFault()
    {
        gTestThread = GetCurrentThreadId();
        gQueueWait = 0;
        gPosts.clear();
        gThreads.clear();
        gSleeps.clear();
        gWaits.clear();
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

TEST_F(WorkThreadFault, TheMessagesAreRegisteredInTheirOrder)
{
    const Hook<decltype(&RegisterWindowMessageA)> hook("RegisterWindowMessageA", keepRegistration);
    const RemoteFormatFile file;
    EXPECT_EQ(Journal::shared().entries(), (std::vector<std::string>{"RemoteClipboardRpcServiceMessageSetOle",
                                                                     "RemoteClipboardRpcServiceMessageExit"}));
}

TEST_F(WorkThreadFault, TheFirstMessageCarriesTheNumberOne)
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

TEST_F(WorkThreadFault, OneThreadIsStartedWithNothingSpecialAndGivenATenthOfASecond)
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

// Each of the allocations that a promise needs fails in its turn.
TEST_F(WorkThreadFault, WithoutMemoryForThePromiseNothingIsStartedOrPosted)
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

TEST_F(WorkThreadFault, AThreadThatCanNotBeStartedLeavesTheJobInTheSlot)
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

TEST_F(WorkThreadFault, AfterAThreadThatCouldNotBeStartedTheNextJobTriesAgain)
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

TEST_F(WorkThreadFault, AFailedPostLeavesTheJobInTheSlotUntilTheNextCall)
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

TEST_F(WorkThreadFault, AFailingGetMessageIsTriedAgain)
{
    const Hook<decltype(&GetMessageW)> hook("GetMessageW", failToGet);
    gErrorsLeft = 1;
    gGets = 0;
    EXPECT_EQ(run([] {}), FuncExecStatus::Executed);
    EXPECT_EQ(gErrorsLeft, 0);
    EXPECT_GE(gGets, 2);
    mFile.reset();  // the thread calls the replacement
}

TEST_F(WorkThreadFault, AThreadThatMakesItsQueueLateStillGetsItsFirstJob)
{
    const Hook<decltype(&PeekMessageW)> hook("PeekMessageW", peekLate);
    EXPECT_EQ(run([] {}), FuncExecStatus::Executed);
    EXPECT_TRUE(RecordingLog::messages(7).empty());
}

TEST_F(WorkThreadFault, TheQueueIsWaitedForFiveSecondsAtMostAndNotOnceTheThreadHasEnded)
{
    const Hook<decltype(&CreateThread)> threads("CreateThread", startAThreadThatEnds);
    const Hook<decltype(&WaitForMultipleObjects)> waits("WaitForMultipleObjects", keepQueueWait);
    const auto begun = std::chrono::steady_clock::now();
    expectPlacedInVain(mFile->MoveToThread([] {}), 1);
    EXPECT_LT(std::chrono::steady_clock::now() - begun, std::chrono::seconds(3));
    EXPECT_EQ(gQueueWait, 5000u);
    EXPECT_TRUE(RecordingLog::hasLine(7, "PostThreadMessage failed! errCode: "));
}

TEST_F(WorkThreadFault, WithoutAnEventForTheQueueTheFixedTimeIsAllThereIs)
{
    const Hook<decltype(&CreateEventW)> hook("CreateEventW", refuseEvent);
    mFile = std::make_unique<RemoteFormatFile>();
    EXPECT_EQ(run([] {}), FuncExecStatus::Executed);
}

TEST_F(WorkThreadFault, AMessageThatIsAnAcceleratorIsNotDispatched)
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

TEST_F(WorkThreadFault, TheDestructorAsksTheThreadToEndAndWaitsAnHourForIt)
{
    run([] {});
    const DWORD id = threadId();
    const HANDLE handle = threadHandle();
    const UINT message = TestAccess::exitMessage(*mFile);
    RecordingLog::clear();
    const Hook<decltype(&PostThreadMessageW)> posts("PostThreadMessageW", keepPost);
    const Hook<decltype(&WaitForSingleObject)> waits("WaitForSingleObject", keepWait);
    mFile.reset();
    ASSERT_EQ(gPosts.size(), 1u);
    EXPECT_EQ(gPosts[0].thread, id);
    EXPECT_EQ(gPosts[0].message, message);
    EXPECT_EQ(gPosts[0].wParam, 0u);
    EXPECT_EQ(gPosts[0].lParam, 0);
    ASSERT_GE(gWaits.size(), 1u);
    EXPECT_EQ(gWaits[0].handle, handle);
    EXPECT_EQ(gWaits[0].milliseconds, 3'600'000u);
    EXPECT_EQ(RecordingLog::messages(), std::vector<std::string>{"OLE Thread exit!\n"});
    EXPECT_EQ(RecordingLog::lines()[0].level, 5);

    // The handle is left open.
    DWORD exitCode = 1;
    EXPECT_TRUE(GetExitCodeThread(handle, &exitCode));
    EXPECT_EQ(exitCode, 0u);
    CloseHandle(handle);
}

TEST_F(WorkThreadFault, TheDestructorWithoutAThreadPostsAndWaitsForNothing)
{
    const Hook<decltype(&PostThreadMessageW)> posts("PostThreadMessageW", keepPost);
    const Hook<decltype(&WaitForSingleObject)> waits("WaitForSingleObject", keepWait);
    mFile.reset();
    EXPECT_TRUE(gPosts.empty());
    EXPECT_TRUE(gWaits.empty());
}

TEST_F(WorkThreadFault, TheDestructorWaitsForNoThreadThatCanNotBeAsked)
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

TEST_F(WorkThreadFault, TheDestructorWaitsForTheJobThatRuns)
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

TEST_F(WorkThreadFault, TheDestructorDiscardsAJobThatNeverCameToRun)
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
