// The system clipboard while it is open.
#pragma once

#include <windows.h>

#include <atomic>

namespace sd::clip {

// Opens the clipboard without a window, and closes it with itself. The system has the clipboard open for a thread: no
// other thread can close it.
//
// Threads: Open, IsOpenHere and Close from any thread; it ends on the thread that opened last.
class OpenedClipboard {
public:
    OpenedClipboard() = default;
    OpenedClipboard(const OpenedClipboard&) = delete;
    OpenedClipboard& operator=(const OpenedClipboard&) = delete;
    ~OpenedClipboard();

    // One attempt. @return whether the clipboard is open for this thread; the last error is that of the attempt
    bool Open();

    // Whether the clipboard was opened here by this thread, and not closed since.
    bool IsOpenHere() const
    {
        return mOpener == GetCurrentThreadId();
    }

    // Closes now, where an order is fixed. The platform is asked also where this thread has nothing open here. The last
    // error is that of its call.
    void Close();

private:
    std::atomic<DWORD> mOpener{0};  // the thread that has it open; 0 if there is none
};

}  // namespace sd::clip
