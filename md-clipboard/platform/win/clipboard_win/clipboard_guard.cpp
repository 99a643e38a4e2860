#include "clipboard_win/clipboard_guard.h"

#include <windows.h>

#include <chrono>

#include "base/log.h"

namespace sd::clip {

namespace {

constexpr int kOpenAttempts = 10;
constexpr DWORD kPauseMilliseconds = 5;
constexpr auto kLongestWait = std::chrono::milliseconds(50);  // for another thread's read

}  // namespace

bool ClipboardGuard::Open()
{
    if (mClipboardOpened) {
        CLIP_LOG(kLogInfo, "Open clipboard from %p is already done", mEngine);
        return true;
    }
    DWORD error = 0;
    for (int attempt = 0; attempt < kOpenAttempts; ++attempt) {
        if (mClipboard.Open()) {
            mClipboardOpened = true;
            CLIP_LOG(kLogInfo, "Open clipboard from %p， attempts = %d", mEngine, attempt);
            return true;
        }
        error = GetLastError();
        Sleep(kPauseMilliseconds);
    }
    mClipboardOpened = false;
    CLIP_LOG(kLogError, "Open clipboard fail from %p. error:%d", mEngine, static_cast<int>(error));
    return false;
}

// The note that it is open is the engine's, but only the thread that opened it can close it: that thread does so even
// if another's Close has cleared the note.
bool ClipboardGuard::Close()
{
    if (!mClipboardOpened) {
        CLIP_LOG(kLogInfo, "Close clipboard from %p is already done", mEngine);
        if (mClipboard.IsOpenHere())
            mClipboard.Close();
        return true;
    }
    CLIP_LOG(kLogInfo, "Close clipboard from %p", mEngine);
    mClipboard.Close();
    mClipboardOpened = false;
    return true;
}

ClipboardGuard::Read::Read(ClipboardGuard& guard)
    : mReading(guard.mReadMutex, kLongestWait), mGuard(guard), mOpened(isMyTurn() && guard.Open())
{
}

ClipboardGuard::Read::~Read()
{
    if (mOpened)
        mGuard.Close();
}

bool ClipboardGuard::Read::isMyTurn() const
{
    if (!mReading.isHeld())
        CLIP_LOG(kLogError, "Open clipboard fail from %p. error:%d", mGuard.mEngine, ERROR_ACCESS_DENIED);
    return mReading.isHeld();
}

}  // namespace sd::clip
