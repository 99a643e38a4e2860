// How a stream takes its lock.
#pragma once

#include "base/annotated_mutex.h"

namespace sd::clip {

// Holds a stream's mMutex for a scope: takes it, unless the calling thread stands inside Read and so has it already.
// Not checked inside, as no constructor and destructor is: the check can't follow that the lock is held either way.
class CLIP_SCOPED_CAPABILITY StreamLockScope {
public:
    StreamLockScope(Mutex& mutex, bool isReadingHere) CLIP_ACQUIRE(mutex) : mTaken(isReadingHere ? nullptr : &mutex)
    {
        if (mTaken != nullptr)
            mTaken->lock();
    }
    ~StreamLockScope() CLIP_RELEASE()
    {
        if (mTaken != nullptr)
            mTaken->unlock();
    }
    StreamLockScope(const StreamLockScope&) = delete;
    StreamLockScope& operator=(const StreamLockScope&) = delete;

private:
    Mutex* const mTaken;
};

}  // namespace sd::clip
