// What the tests of the OLE work thread share. For one source file of a test program.
#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <chrono>
#include <future>
#include <memory>
#include <string>

#include "support/recording_log.h"
#include "workthread/remote_format_file.h"

namespace sd::clip {

class TestAccess {
public:
    static HANDLE threadHandle(const RemoteFormatFile& file)
    {
        return file.mThreadHandle;
    }
    static DWORD threadId(const RemoteFormatFile& file)
    {
        return file.mThreadId;
    }
    static UINT setOleMessage(const RemoteFormatFile& file)
    {
        return file.mSetOleMessage;
    }
    static UINT exitMessage(const RemoteFormatFile& file)
    {
        return file.mExitMessage;
    }
    static bool exitWanted(const RemoteFormatFile& file)
    {
        return file.mExitWanted;
    }
    static const Job& job(const RemoteFormatFile& file)
    {
        return file._userMsgSetOle.mJob;
    }
    static Mutex& jobLock(RemoteFormatFile& file)
    {
        return file.mJobLock;
    }
    static std::vector<const void*> members(const RemoteFormatFile& file)
    {
        return {&file.mThreadHandle, &file.mThreadId,      &file.mSetOleMessage,
                &file.mExitMessage,  &file._userMsgSetOle, &file.mJobLock};
    }
};

// A job that tells when it began and then waits to be let go.
class HeldJob {
public:
    std::function<void()> function() const
    {
        return [state = mState] {
            state->begun.set_value();
            state->goOn.get_future().wait_for(std::chrono::seconds(30));
        };
    }
    bool begins() const
    {
        return mState->begun.get_future().wait_for(std::chrono::seconds(30)) == std::future_status::ready;
    }
    void letGo() const
    {
        mState->goOn.set_value();
    }

private:
    struct State {
        std::promise<void> begun;
        std::promise<void> goOn;
    };
    std::shared_ptr<State> mState = std::make_shared<State>();
};

// A work thread of the test's own; its object goes with the test.
class WorkThread : public testing::Test {
protected:
    using Future = std::future<FuncExecStatus>;

    static bool isReady(const Future& future)
    {
        return future.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
    }

    // What became of the job; it must do so soon.
    static FuncExecStatus statusOf(Future& future)
    {
        if (!future.valid() || future.wait_for(std::chrono::seconds(30)) != std::future_status::ready) {
            ADD_FAILURE() << "there is no status";
            return FuncExecStatus{};
        }
        return future.get();
    }

    FuncExecStatus run(std::function<void()> func) const
    {
        Future future = mFile->MoveToThread(std::move(func));
        return statusOf(future);
    }

    // The message of an older job that is still in the thread's queue discards the job that it finds, and that one's
    // message the next, until the queue had the time to empty.
    FuncExecStatus runBehindStaleMessages() const
    {
        constexpr DWORD kLongestPause = 20000;  // milliseconds
        for (DWORD pause = 10; pause < kLongestPause; pause *= 2) {
            const FuncExecStatus status = run([] {});
            if (status == FuncExecStatus::Executed)
                return status;
            Sleep(pause);
        }
        return FuncExecStatus::Discarded;
    }

    DWORD threadId() const
    {
        return TestAccess::threadId(*mFile);
    }
    HANDLE threadHandle() const
    {
        return TestAccess::threadHandle(*mFile);
    }
    bool threadEnds() const
    {
        return WaitForSingleObject(threadHandle(), 30000) == WAIT_OBJECT_0;
    }

    std::unique_ptr<RemoteFormatFile> mFile = std::make_unique<RemoteFormatFile>();
};

}  // namespace sd::clip
