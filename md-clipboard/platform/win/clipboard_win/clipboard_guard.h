// The guard of the system clipboard, which one thread of the desktop can have open at a time and which other programs
// hold for short moments.
#pragma once

#include <atomic>

#include "base/annotated_mutex.h"
#include "support/opened_clipboard.h"

namespace sd::clip {

// One engine's access to the clipboard. Threads: any, at once.
class ClipboardGuard {
public:
    // @param engine whose access it is: its address stands in log lines, and is used for nothing else
    explicit ClipboardGuard(const void* engine) : mEngine(engine) {}
    ClipboardGuard(const ClipboardGuard&) = delete;
    ClipboardGuard& operator=(const ClipboardGuard&) = delete;

    // Opens the clipboard for the calling thread, in some 50 milliseconds of attempts. Does nothing where the engine
    // has it open already, on whichever thread.
    // @return whether the engine has it open
    bool Open();

    // Closes what the calling thread opened. @return true
    bool Close();

    // The clipboard open for one read, to the end of a scope. Each function of the host's that runs meanwhile, as the
    // platform may ask a window of this thread for the data, may read in a scope of its own.
    class Read {
    public:
        // @param guard lives as long as this object
        explicit Read(ClipboardGuard& guard);
        ~Read();
        Read(const Read&) = delete;
        Read& operator=(const Read&) = delete;

        // False where another thread reads, or another program has the clipboard open, for more than 50 milliseconds.
        explicit operator bool() const
        {
            return mOpened;
        }

    private:
        bool isMyTurn() const;

        const TryLockScope<RecursiveTimedMutex> mReading;  // no lock: constant; released after the clipboard was closed
        ClipboardGuard& mGuard;
        const bool mOpened;  // no lock: constant
    };

private:
    friend class TestAccess;

    const void* const mEngine;
    std::atomic<bool> mClipboardOpened{false};  // the engine holds the clipboard open, on whichever thread
    // One read of the clipboard at a time: the close of one thread would otherwise leave the clipboard open on
    // another, for the whole desktop. A thread that does not get it in the time that Open takes at the most finds the
    // clipboard busy: the platform may ask its owner for the data during a read, and that may be a thread of the host
    // that waits here. For the same reason a thread may take it again. It guards no member.
    RecursiveTimedMutex mReadMutex;
    OpenedClipboard mClipboard CLIP_UNGUARDED("safe by itself");  // what Open opened
};

}  // namespace sd::clip
