#include "workthread/remote_format_file.h"

#include <utility>

#include "log.h"

namespace sd::clip {

namespace {

constexpr DWORD kTimeForQueue = 100;           // milliseconds that a new thread has in any case
constexpr DWORD kMostTimeForQueue = 5000;      // milliseconds, on a machine that is busy with other things
constexpr DWORD kMostTimeForExit = 3'600'000;  // milliseconds: one hour, as long as the engine waits for a job

int lastError()
{
    return static_cast<int>(GetLastError());
}

}  // namespace

// How it ends with the process:
// - In the DLL this runs when the process detaches it, and the system has ended every other thread by then, perhaps
//   within mJobLock or a job. Posting to an ended thread fails, so nothing is waited for; no lock is taken, and nothing
//   is freed that such a thread may have left half done.
// - In a program that is linked with these objects, the other threads still run. The thread leaves its loop before the
//   program's own statics go. A thread that calls MoveToThread meanwhile finds the object, and its post fails.
// That is why the object itself is never destroyed: only its thread is ended.
RemoteFormatFile& RemoteFormatFile::Instance()
{
    struct EndsWithProcess {
        RemoteFormatFile& file = *new RemoteFormatFile;
        ~EndsWithProcess()
        {
            file.EndThread();
        }
    };
    static const EndsWithProcess instance;
    return instance.file;
}

RemoteFormatFile::RemoteFormatFile()
    : mSetOleMessage(RegisterWindowMessageA("RemoteClipboardRpcServiceMessageSetOle")),
      mExitMessage(RegisterWindowMessageA("RemoteClipboardRpcServiceMessageExit")),
      mQueueStands(CreateEventW(nullptr, TRUE, FALSE, nullptr))
{
}

RemoteFormatFile::~RemoteFormatFile()
{
    EndThread();
    _userMsgSetOle.Discard();
    if (mQueueStands != nullptr)
        CloseHandle(mQueueStands);
}

std::future<FuncExecStatus> RemoteFormatFile::MoveToThread(std::function<void()> func)
{
    std::function<void()> replaced;  // destroyed after the lock: what it holds may call back
    const LockScope lock(mJobLock);
    replaced = _userMsgSetOle.Discard();
    if (!func)
        return {};

    // The future comes before the post: afterwards the thread may have taken the promise already.
    std::future<FuncExecStatus> status = _userMsgSetOle.Place(std::move(func));
    if (!status.valid()) {
        CLIP_LOG(kLogFatal, "Construct promise failed!");
        return {};
    }
    if (mThreadId == 0 && !StartThread())
        return {};
    CLIP_LOG(kLogInfo, "_userMsgSetOle id : %d", static_cast<int>(_userMsgSetOle.Id()));
    if (!PostThreadMessageW(mThreadId, mSetOleMessage, _userMsgSetOle.Id(), 0)) {
        CLIP_LOG(kLogFatal, "PostThreadMessage failed! errCode: %d", lastError());
        return {};
    }
    return status;
}

bool RemoteFormatFile::StartThread()
{
    DWORD id = 0;
    const HANDLE handle = CreateThread(nullptr, 0, &OleDataObjectRpcThreadMsgProc, this, 0, &id);
    if (handle == nullptr || id == 0) {
        CLIP_LOG(kLogFatal, "CreateThread failed! errCode: %d", lastError());
        return false;
    }
    mThreadHandle = handle;
    mThreadId = id;
    CLIP_LOG(kLogInfo, "The RPC thread Id: %d", static_cast<int>(id));
    Sleep(kTimeForQueue);
    WaitForQueue();
    return true;
}

// A post to a thread without a queue fails, and the job would be lost. A thread that has ended is not waited for.
void RemoteFormatFile::WaitForQueue() const
{
    if (mQueueStands == nullptr)
        return;
    const HANDLE handles[] = {mQueueStands, mThreadHandle};
    WaitForMultipleObjects(2, handles, FALSE, kMostTimeForQueue);
}

void RemoteFormatFile::EndThread()
{
    const DWORD id = mThreadId;
    if (id != 0 && PostThreadMessageW(id, mExitMessage, 0, 0))
        WaitForSingleObject(mThreadHandle, kMostTimeForExit);
}

DWORD WINAPI RemoteFormatFile::OleDataObjectRpcThreadMsgProc(void* instance)
{
    CLIP_LOG(kLogInfo, "Ole Thread Id: %d", static_cast<int>(GetCurrentThreadId()));
    if (instance == nullptr) {
        CLIP_LOG(kLogFatal, "RemoteFormatFile instance is NULL, thread exit!\n");
        return static_cast<DWORD>(-1);
    }
    static_cast<RemoteFormatFile*>(instance)->ServeMessages();
    return 0;
}

// Ordinary message handling, since OLE serves the data object by messages to windows of this thread.
void RemoteFormatFile::ServeMessages()
{
    MSG message;
    PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE);  // makes the thread's queue
    if (mQueueStands != nullptr)
        SetEvent(mQueueStands);
    for (;;) {
        const BOOL result = GetMessageW(&message, nullptr, 0, 0);
        if (result == 0)
            return;
        if (result == -1 || TranslateAcceleratorW(message.hwnd, nullptr, &message) != 0)
            continue;
        if (message.message == mSetOleMessage) {
            RunPendingJob(message.wParam);
        } else if (message.message == mExitMessage) {
            CLIP_LOG(kLogInfo, "OLE Thread exit!\n");
            return;
        } else {
            TranslateMessage(&message);
            DispatchMessageW(&message);
        }
    }
}

void RemoteFormatFile::RunPendingJob(WPARAM number)
{
    Job job;
    {
        const LockScope lock(mJobLock);
        job = _userMsgSetOle.Take();
    }
    RunJob(std::move(job), number);
}

}  // namespace sd::clip
