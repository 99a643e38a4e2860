// The lock of one data object's request and deliveries, and what has to wait for its release.
#pragma once

#include <functional>
#include <mutex>

namespace sd::clip {

// A scope in which this thread holds a data lock. The lock is held across the host's paste and request functions and
// events, so a thread may take it again: a host that delivers from inside its request function, or whose veto shows a
// dialog and so pumps messages, must not stop for ever.
//
// Threads: emptying the OLE clipboard sends a message to the thread that serves the data object, and that thread may
// want the lock. The host's cancel function may wait for such a thread too, and so may a read, which the report of a
// failure waits for. All of them are put off to the release.
class DataLockScope {
public:
    explicit DataLockScope(std::recursive_mutex& mutex);
    ~DataLockScope();
    DataLockScope(const DataLockScope&) = delete;
    DataLockScope& operator=(const DataLockScope&) = delete;

    // Runs the function when this thread holds no data lock any more: at once if it holds none.
    // Functions run in the order in which they came, on this thread, and must not throw.
    static void runWithoutLock(std::function<void()> function);

    static bool isHeldByThisThread();

private:
    std::recursive_mutex& mMutex;
};

}  // namespace sd::clip
