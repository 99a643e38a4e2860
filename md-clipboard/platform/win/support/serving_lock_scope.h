// A lock for one scope, taken by a thread that others may be sending messages to.
#pragma once

#include <windows.h>

#include "base/annotated_mutex.h"
#include "support/sent_messages.h"

namespace sd::clip {

// Holds the lock for a scope. A caller that joined OLE may own the clipboard that the holder of the lock is just
// emptying, which sends to it and waits for its answer: what is sent is served meanwhile.
class CLIP_SCOPED_CAPABILITY ServingLockScope {
public:
    explicit ServingLockScope(RecursiveMutex& mutex) CLIP_ACQUIRE(mutex) : mMutex(mutex)
    {
        while (!mMutex.try_lock()) {
            ServeSentMessages();
            Sleep(kPause);
        }
    }
    ~ServingLockScope() CLIP_RELEASE()
    {
        mMutex.unlock();
    }
    ServingLockScope(const ServingLockScope&) = delete;
    ServingLockScope& operator=(const ServingLockScope&) = delete;

private:
    static constexpr DWORD kPause = 10;  // milliseconds

    RecursiveMutex& mMutex;
};

}  // namespace sd::clip
