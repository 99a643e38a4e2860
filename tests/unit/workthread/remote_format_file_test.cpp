// Jobs and their order on the OLE work thread.
#include "workthread/remote_format_file.h"

#include <stdexcept>

#include "work_thread_fixture.h"

using namespace sd::clip;

namespace {

std::string numbered(const char* text, DWORD number)
{
    return text + std::to_string(static_cast<int>(number));
}

}  // namespace

TEST_F(WorkThread, IsBornWithoutAThreadAndWithTheJobNumberZero)
{
    EXPECT_EQ(threadHandle(), nullptr);
    EXPECT_EQ(threadId(), 0u);
    EXPECT_EQ(TestAccess::job(*mFile).id, 0u);
    EXPECT_FALSE(TestAccess::job(*mFile).func);
    EXPECT_EQ(TestAccess::job(*mFile).promise, nullptr);
    EXPECT_TRUE(RecordingLog::lines().empty());
}

TEST_F(WorkThread, ItsMessagesAreTheRegisteredOnes)
{
    EXPECT_EQ(TestAccess::setOleMessage(*mFile), RegisterWindowMessageA("RemoteClipboardRpcServiceMessageSetOle"));
    EXPECT_EQ(TestAccess::exitMessage(*mFile), RegisterWindowMessageA("RemoteClipboardRpcServiceMessageExit"));
}

TEST_F(WorkThread, MembersStandInTheirOrder)
{
    const auto members = TestAccess::members(*mFile);
    for (std::size_t i = 1; i < members.size(); ++i)
        EXPECT_LT(members[i - 1], members[i]) << "member " << i;
}

TEST_F(WorkThread, OneInstanceServesTheProcess)
{
    RemoteFormatFile& instance = RemoteFormatFile::Instance();
    EXPECT_EQ(&RemoteFormatFile::Instance(), &instance);
    EXPECT_EQ(TestAccess::threadId(instance), 0u);
}

TEST_F(WorkThread, RunsAJobOnItsOwnThread)
{
    DWORD where = 0;
    EXPECT_EQ(run([&where] { where = GetCurrentThreadId(); }), FuncExecStatus::Executed);
    EXPECT_NE(where, 0u);
    EXPECT_NE(where, GetCurrentThreadId());
    EXPECT_EQ(where, threadId());
    EXPECT_EQ(GetThreadId(threadHandle()), where);
}

TEST_F(WorkThread, TheFirstJobLogsTheThreadAndItsNumber)
{
    run([] {});
    // The thread's own line may come before the starter's.
    EXPECT_EQ(RecordingLog::count(5, numbered("The RPC thread Id: ", threadId())), 1);
    EXPECT_EQ(RecordingLog::count(5, numbered("Ole Thread Id: ", threadId())), 1);
    EXPECT_EQ(RecordingLog::messages().back(), "_userMsgSetOle id : 1");
    EXPECT_EQ(RecordingLog::lines().back().level, 5);
    EXPECT_EQ(RecordingLog::lines().size(), 3u);
}

TEST_F(WorkThread, LaterJobsRunOnTheSameThreadUnderTheNextNumber)
{
    run([] {});
    const DWORD first = threadId();
    RecordingLog::clear();
    DWORD where = 0;
    EXPECT_EQ(run([&where] { where = GetCurrentThreadId(); }), FuncExecStatus::Executed);
    EXPECT_EQ(where, first);
    EXPECT_EQ(RecordingLog::messages(), std::vector<std::string>{"_userMsgSetOle id : 2"});
}

TEST_F(WorkThread, AnEmptyFunctionWithNothingPendingStartsNoThread)
{
    EXPECT_FALSE(mFile->MoveToThread(nullptr).valid());
    EXPECT_EQ(threadId(), 0u);
    EXPECT_EQ(threadHandle(), nullptr);
    EXPECT_EQ(TestAccess::job(*mFile).id, 0u);
    EXPECT_TRUE(RecordingLog::lines().empty());
}

TEST_F(WorkThread, AnEmptyFunctionWithdrawsThePendingJob)
{
    const HeldJob held;
    Future running = mFile->MoveToThread(held.function());
    ASSERT_TRUE(held.begins());
    bool pendingRan = false;
    Future pending = mFile->MoveToThread([&pendingRan] { pendingRan = true; });
    EXPECT_FALSE(isReady(pending));
    EXPECT_FALSE(mFile->MoveToThread(nullptr).valid());
    ASSERT_TRUE(isReady(pending));
    EXPECT_EQ(pending.get(), FuncExecStatus::Discarded);
    EXPECT_FALSE(isReady(running));  // what runs is not interrupted
    held.letGo();
    EXPECT_EQ(statusOf(running), FuncExecStatus::Executed);
    EXPECT_EQ(runBehindStaleMessages(), FuncExecStatus::Executed);
    EXPECT_FALSE(pendingRan);
}

TEST_F(WorkThread, OfTwoJobsBackToBackBothAreDiscarded)
{
    const HeldJob held;
    Future running = mFile->MoveToThread(held.function());
    ASSERT_TRUE(held.begins());
    int ran = 0;
    Future first = mFile->MoveToThread([&ran] { ++ran; });
    Future second = mFile->MoveToThread([&ran] { ++ran; });
    ASSERT_TRUE(isReady(first));
    EXPECT_EQ(first.get(), FuncExecStatus::Discarded);
    EXPECT_FALSE(isReady(second));
    held.letGo();
    EXPECT_EQ(statusOf(running), FuncExecStatus::Executed);
    EXPECT_EQ(statusOf(second), FuncExecStatus::Discarded);  // by the message of the first
    // The second's message finds nothing to do, unless the next job lies in the slot by then.
    EXPECT_EQ(runBehindStaleMessages(), FuncExecStatus::Executed);
    EXPECT_EQ(ran, 0);
}

TEST_F(WorkThread, AStaleMessageDiscardsTheJobThatWaits)
{
    const HeldJob held;
    Future running = mFile->MoveToThread(held.function());
    ASSERT_TRUE(held.begins());
    PostThreadMessageW(threadId(), TestAccess::setOleMessage(*mFile), 77, 0);
    bool ran = false;
    Future pending = mFile->MoveToThread([&ran] { ran = true; });
    held.letGo();
    EXPECT_EQ(statusOf(running), FuncExecStatus::Executed);
    EXPECT_EQ(statusOf(pending), FuncExecStatus::Discarded);
    EXPECT_FALSE(ran);
}

TEST_F(WorkThread, AJobThatThrowsCountsAsExecutedAndTheThreadGoesOn)
{
    EXPECT_EQ(run([] { throw std::runtime_error("no good"); }), FuncExecStatus::Executed);
    EXPECT_EQ(RecordingLog::messages(6), std::vector<std::string>{"A job of the OLE thread failed: no good"});
    EXPECT_EQ(run([] {}), FuncExecStatus::Executed);
}

TEST_F(WorkThread, AJobRunsWithoutTheLockAndMayPlaceTheNext)
{
    bool lockWasFree = false;
    Future next;
    const auto first = run([&] {
        lockWasFree = TestAccess::jobLock(*mFile).try_lock();
        if (lockWasFree)
            TestAccess::jobLock(*mFile).unlock();
        next = mFile->MoveToThread([] {});
    });
    EXPECT_EQ(first, FuncExecStatus::Executed);
    EXPECT_TRUE(lockWasFree);
    EXPECT_EQ(statusOf(next), FuncExecStatus::Executed);
}

TEST_F(WorkThread, AReplacedFunctionIsDestroyedWithoutTheLock)
{
    const HeldJob held;
    Future running = mFile->MoveToThread(held.function());
    ASSERT_TRUE(held.begins());
    // What the replaced function holds comes back in its destructor, which would dead lock under the lock.
    bool destroyed = false;
    std::shared_ptr<void> callingBack(nullptr, [&](void*) {
        mFile->MoveToThread(nullptr);
        destroyed = true;
    });
    mFile->MoveToThread([kept = std::move(callingBack)] {});
    EXPECT_FALSE(destroyed);
    mFile->MoveToThread(nullptr);
    EXPECT_TRUE(destroyed);
    held.letGo();
    EXPECT_EQ(statusOf(running), FuncExecStatus::Executed);
}

TEST_F(WorkThread, MessagesToWindowsOfTheThreadAreDispatched)
{
    static std::promise<UINT>* sArrived = nullptr;
    std::promise<UINT> arrived;
    sArrived = &arrived;
    HWND window = nullptr;
    run([&window] {
        window = CreateWindowExW(0, L"STATIC", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
        SetWindowLongPtrW(
            window, GWLP_WNDPROC,
            reinterpret_cast<LONG_PTR>(+[](HWND target, UINT message, WPARAM wParam, LPARAM lParam) -> LRESULT {
                if (message == WM_CHAR)
                    sArrived->set_value(static_cast<UINT>(wParam));
                return DefWindowProcW(target, message, wParam, lParam);
            }));
    });
    ASSERT_NE(window, nullptr);
    // A key press becomes a character only if the loop translates it.
    PostMessageW(window, WM_KEYDOWN, 'A', 1);
    auto character = arrived.get_future();
    ASSERT_EQ(character.wait_for(std::chrono::seconds(30)), std::future_status::ready);
    EXPECT_EQ(character.get(), static_cast<UINT>('a'));
    run([window] { DestroyWindow(window); });
}

TEST_F(WorkThread, AQuitMessageEndsTheThreadSilentlyAndTheNextPostFails)
{
    run([] {});
    const DWORD id = threadId();
    RecordingLog::clear();
    PostThreadMessageW(id, WM_QUIT, 0, 0);
    ASSERT_TRUE(threadEnds());
    DWORD exitCode = 1;
    GetExitCodeThread(threadHandle(), &exitCode);
    EXPECT_EQ(exitCode, 0u);
    EXPECT_TRUE(RecordingLog::lines().empty());
    EXPECT_EQ(threadId(), id);

    EXPECT_FALSE(mFile->MoveToThread([] {}).valid());
    EXPECT_EQ(RecordingLog::messages(7),
              std::vector<std::string>{numbered("PostThreadMessage failed! errCode: ", ERROR_INVALID_THREAD_ID)});
}

TEST_F(WorkThread, ManyCallersAtOnceStartOneThreadAndEachHearsOfItsJob)
{
    std::atomic<int> ran{0};
    std::atomic<int> executed{0};
    std::vector<std::thread> callers;
    for (int i = 0; i < 4; ++i) {
        callers.emplace_back([&] {
            for (int k = 0; k < 50; ++k) {
                if (run([&ran] { ++ran; }) == FuncExecStatus::Executed)
                    ++executed;
            }
        });
    }
    for (std::thread& caller : callers)
        caller.join();
    EXPECT_EQ(ran, executed);
    EXPECT_EQ(RecordingLog::count(5, numbered("Ole Thread Id: ", threadId())), 1);
    EXPECT_EQ(TestAccess::job(*mFile).id, 200u);
}

TEST(WorkThreadProcedure, WithoutAnInstanceItEndsWithMinusOne)
{
    EXPECT_EQ(RemoteFormatFile::OleDataObjectRpcThreadMsgProc(nullptr), static_cast<DWORD>(-1));
    EXPECT_EQ(RecordingLog::messages(),
              (std::vector<std::string>{numbered("Ole Thread Id: ", GetCurrentThreadId()),
                                        "RemoteFormatFile instance is NULL, thread exit!\n"}));
    EXPECT_EQ(RecordingLog::lines()[0].level, 5);
    EXPECT_EQ(RecordingLog::lines()[1].level, 7);
}
