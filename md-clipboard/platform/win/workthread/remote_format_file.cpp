#include "workthread/remote_format_file.h"

#include <utility>

#include "base/log.h"

namespace sd::clip {

namespace {

constexpr DWORD kTimeForQueue = 100;           // milliseconds that a new thread has in any case
constexpr DWORD kMostTimeForQueue = 5000;      // milliseconds, on a machine that is busy with other things
constexpr DWORD kTimeBetweenWakes = 1000;      // milliseconds
constexpr DWORD kMostTimeForExit = 3'600'000;  // milliseconds: one hour, as long as the engine waits for a job

int lastError()
{
    return static_cast<int>(GetLastError());
}

// The number of the message that a look for one of that number finds; WM_NULL if there is none. A quit message passes
// every filter, so it may be found instead. Sent messages are served meanwhile: not to be called under a lock.
UINT lookFor(UINT number)
{
    MSG found;
    return PeekMessageW(&found, nullptr, number, number, PM_NOREMOVE) ? found.message : WM_NULL;
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
    _userMsgSetOle.NotePosted();
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
    if (!mQueueStands.IsValid())
        return;
    const HANDLE handles[] = {mQueueStands.Get(), mThreadHandle};
    WaitForMultipleObjects(2, handles, FALSE, kMostTimeForQueue);
}

void RemoteFormatFile::EndThread()
{
    const DWORD id = mThreadId;
    if (id == 0 || !PostThreadMessageW(id, mExitMessage, 0, 0))
        return;
    mExitWanted = true;
    for (DWORD waited = 0; waited < kMostTimeForExit; waited += kTimeBetweenWakes) {
        if (WaitForSingleObject(mThreadHandle, kTimeBetweenWakes) != WAIT_TIMEOUT)
            return;
        Wake();
    }
}

void RemoteFormatFile::Wake() const
{
    // A message that could not be registered has the number 0, which would then mean something.
    const bool isMeaningless = mSetOleMessage != WM_NULL && mExitMessage != WM_NULL;
    const DWORD id = mThreadId;
    if (id != 0 && isMeaningless)
        PostThreadMessageW(id, WM_NULL, 0, 0);
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

// Ordinary message handling, since OLE serves the data object by messages to windows of this thread. What runs in such
// a message may be the host's, with a message loop of its own, as a dialog has. That loop takes our messages and drops
// them. So the thread looks for what was dropped whenever it is back.
void RemoteFormatFile::ServeMessages()
{
    MSG message;
    PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE);  // makes the thread's queue
    if (mQueueStands.IsValid())
        SetEvent(mQueueStands.Get());
    for (;;) {
        while (RunDroppedJob()) {
        }
        if (IsExitDropped())
            break;
        const BOOL result = GetMessageW(&message, nullptr, 0, 0);
        if (result == 0)
            return;
        if (result != -1 && !HandleMessage(message))
            break;
    }
    CLIP_LOG(kLogInfo, "OLE Thread exit!\n");
}

// @return false for the exit message
bool RemoteFormatFile::HandleMessage(MSG& message)
{
    if (TranslateAcceleratorW(message.hwnd, nullptr, &message) != 0)
        return true;
    if (message.message == mSetOleMessage) {
        RunPendingJob(message.wParam);
    } else if (message.message == mExitMessage) {
        return false;
    } else {
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
    return true;
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

// Runs the job whose message was posted and is no longer in the queue. A message of an older job that is in the queue
// decides about the job as ever. @return whether there was one to run
bool RemoteFormatFile::RunDroppedJob()
{
    const std::optional<std::uint32_t> number = PostedJob();
    if (!number || lookFor(mSetOleMessage) == mSetOleMessage)
        return false;
    Job job;
    {
        const LockScope lock(mJobLock);
        if (_userMsgSetOle.PostedId() != number)
            return false;  // a newer job came during the look, or the job was withdrawn
        job = _userMsgSetOle.Take();
    }
    RunJob(std::move(job), *number);
    return true;
}

std::optional<std::uint32_t> RemoteFormatFile::PostedJob()
{
    const LockScope lock(mJobLock);
    return _userMsgSetOle.PostedId();
}

// A quit message that waits ends the thread too, without the line about an exit.
bool RemoteFormatFile::IsExitDropped() const
{
    return mExitWanted && lookFor(mExitMessage) == WM_NULL;
}

}  // namespace sd::clip
