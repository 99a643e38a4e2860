// What every medium that a pasting application reads from has in common: it can be cancelled.
#pragma once

#include <atomic>
#include <functional>

#include "base/annotated_mutex.h"

namespace sd::clip {

// Threads: Cancel from any.
class MediumBase {
public:
    MediumBase() = default;
    MediumBase(const MediumBase&) = delete;
    MediumBase& operator=(const MediumBase&) = delete;
    virtual ~MediumBase();

    // Marks the medium for good. Waits for whoever holds its lock.
    virtual void Cancel();

protected:
    Mutex mMutex;                         // the lock of the whole medium, the derived class's fields included
    std::atomic<bool> mCancelled{false};  // read without the lock
    // Called at the end of the medium, if set.
    std::function<bool()> mDestroyFunc CLIP_UNGUARDED("nothing sets it yet");

private:
    friend class TestAccess;
};

}  // namespace sd::clip
