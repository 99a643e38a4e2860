// The thread that owns OLE: it puts data objects on the clipboard, and serves them as long as they are there.
#pragma once

#include <windows.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <future>
#include <optional>

#include "base/annotated_mutex.h"
#include "support/owned_handle.h"
#include "workthread/job_slot.h"

namespace sd::clip {

// The platform delivers the pasting application's calls on the thread that put the object on the clipboard. They may
// wait for the guest's bytes for many seconds, which must not hold the thread of the engine's window.
//
// Threads: MoveToThread from any thread, from a job too.
class RemoteFormatFile {
public:
    // The one of the process. The end of the process ends its thread.
    static RemoteFormatFile& Instance();

    RemoteFormatFile();

    // Ends the thread and waits for it, for up to an hour: it may stand in a job or in a read. No other thread may use
    // the object any more.
    ~RemoteFormatFile();

    RemoteFormatFile(const RemoteFormatFile&) = delete;
    RemoteFormatFile& operator=(const RemoteFormatFile&) = delete;

    // Has the thread run the function and does not wait; starts the thread if there is none. A job that still waits is
    // discarded, and an empty function does no more than that. The result has no state if the function is empty or
    // could not be placed.
    std::future<FuncExecStatus> MoveToThread(std::function<void()> func);

    // Has the thread look for what it should do. To be called once a second by a thread that waits for it: its loop
    // does not notice by itself that a sent message's handler has dropped a message of ours. Does nothing without a
    // thread.
    void Wake() const;

    // Whether the caller runs on that thread: there it must not wait for a job.
    bool IsThisThread() const
    {
        return mThreadId == GetCurrentThreadId();
    }

    // The thread's procedure. Returns 0, or -1 for a null instance.
    static DWORD WINAPI OleDataObjectRpcThreadMsgProc(void* instance);

private:
    friend class TestAccess;

    bool StartThread() CLIP_REQUIRES(mJobLock);
    void WaitForQueue() const;
    void EndThread();
    void ServeMessages();
    bool HandleMessage(MSG& message);
    void RunPendingJob(WPARAM number);
    bool RunDroppedJob();
    bool IsExitDropped() const;
    std::optional<std::uint32_t> PostedJob();

    // Written once, under mJobLock. Never closed: so the system gives the id to no other thread.
    std::atomic<HANDLE> mThreadHandle{nullptr};
    std::atomic<DWORD> mThreadId{0};  // 0 if there is no thread yet; written behind the handle
    const UINT mSetOleMessage;
    const UINT mExitMessage;
    JobSlot _userMsgSetOle CLIP_GUARDED_BY(mJobLock);
    Mutex mJobLock;                        // held through the start of the thread and the post, never while a job runs
    const OwnedHandle mQueueStands;        // event: the thread can be posted to
    std::atomic<bool> mExitWanted{false};  // the exit message was posted
};

}  // namespace sd::clip
