// Opening and closing the system clipboard, which one thread of the desktop can have open at a time and which other
// programs hold for short moments.
#include "base/log.h"
#include "clipboard_win/clipboard_impl.h"

namespace sd::clip {

namespace {

constexpr int kOpenAttempts = 10;
constexpr DWORD kPauseMilliseconds = 5;

}  // namespace

bool ClipboardImpl::Open()
{
    void* const self = this;
    if (mClipboardOpened) {
        CLIP_LOG(kLogInfo, "Open clipboard from %p is already done", self);
        return true;
    }
    DWORD error = 0;
    for (int attempt = 0; attempt < kOpenAttempts; ++attempt) {
        if (mClipboard.Open()) {
            mClipboardOpened = true;
            CLIP_LOG(kLogInfo, "Open clipboard from %p， attempts = %d", self, attempt);
            return true;
        }
        error = GetLastError();
        Sleep(kPauseMilliseconds);
    }
    mClipboardOpened = false;
    CLIP_LOG(kLogError, "Open clipboard fail from %p. error:%d", self, static_cast<int>(error));
    return false;
}

// The note that it is open is the engine's, but only the thread that opened it can close it: that thread does so even
// if another's Close has cleared the note.
bool ClipboardImpl::Close()
{
    void* const self = this;
    if (!mClipboardOpened) {
        CLIP_LOG(kLogInfo, "Close clipboard from %p is already done", self);
        if (mClipboard.IsOpenHere())
            mClipboard.Close();
        return true;
    }
    CLIP_LOG(kLogInfo, "Close clipboard from %p", self);
    mClipboard.Close();
    mClipboardOpened = false;
    return true;
}

}  // namespace sd::clip
