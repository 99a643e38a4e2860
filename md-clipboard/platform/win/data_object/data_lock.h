// The lock of one data object's request and deliveries, and what has to wait for its release.
#pragma once

#include <atomic>
#include <functional>
#include <thread>

#include "base/annotated_mutex.h"

namespace sd::clip {

// A mutex that a thread may take again. Not the standard's: with MinGW-w64 that one never frees the memory and the
// event that it is made of, and there is one for each list that the guest copies.
class CLIP_CAPABILITY("data lock") DataLock {
public:
    DataLock() = default;
    DataLock(const DataLock&) = delete;
    DataLock& operator=(const DataLock&) = delete;

    void lock() CLIP_ACQUIRE();
    bool try_lock() CLIP_TRY_ACQUIRE(true);
    void unlock() CLIP_RELEASE();

private:
    bool isMine() const;

    Mutex mMutex;
    std::atomic<std::thread::id> mOwner{};   // who holds mMutex
    int mDepth CLIP_GUARDED_BY(mMutex) = 0;  // how often its owner has taken it
};

// A scope in which this thread holds a data lock. The lock is held across the host's paste and request functions and
// events, so a thread may take it again: a host that delivers from inside its request function, or whose veto shows a
// dialog and so pumps messages, must not stop for ever.
//
// Threads: emptying the OLE clipboard sends a message to the thread that serves the data object, and that thread may
// want the lock. The host's cancel function may wait for such a thread too, and so may a read, which the report of a
// failure waits for. All of them are put off to the release.
class CLIP_SCOPED_CAPABILITY DataLockScope {
public:
    explicit DataLockScope(DataLock& mutex) CLIP_ACQUIRE(mutex);
    ~DataLockScope() CLIP_RELEASE();
    DataLockScope(const DataLockScope&) = delete;
    DataLockScope& operator=(const DataLockScope&) = delete;

    // Runs the function when this thread holds no data lock any more: at once if it holds none.
    // Functions run in the order in which they came, on this thread, and must not throw.
    static void runWithoutLock(std::function<void()> function);

    static bool isHeldByThisThread();

private:
    DataLock& mMutex;
};

}  // namespace sd::clip
