// The standard mutexes and scopes for them, with annotations (thread_annotations.h). They cost nothing beside those.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

#include "base/thread_annotations.h"

namespace sd::clip {

// Meets the standard's requirements of a mutex, so std::condition_variable_any waits with it directly.
template <class Native>
class CLIP_CAPABILITY("mutex") AnnotatedMutex {
public:
    AnnotatedMutex() = default;
    AnnotatedMutex(const AnnotatedMutex&) = delete;
    AnnotatedMutex& operator=(const AnnotatedMutex&) = delete;

    void lock() CLIP_ACQUIRE()
    {
        mNative.lock();
    }

    bool try_lock() CLIP_TRY_ACQUIRE(true)
    {
        return mNative.try_lock();
    }

    // For the timed kinds.
    template <class Rep, class Period>
    bool try_lock_for(const std::chrono::duration<Rep, Period>& limit) CLIP_TRY_ACQUIRE(true)
    {
        return mNative.try_lock_for(limit);
    }

    void unlock() CLIP_RELEASE()
    {
        mNative.unlock();
    }

    // For what takes the standard kind. What is done through it is not checked.
    Native& native()
    {
        return mNative;
    }

private:
    Native mNative;
};

using Mutex = AnnotatedMutex<std::mutex>;
// A thread may take it again. The check knows no such thing: it complains of a second one in the same function only,
// so a function that is called under the lock takes it without saying so, or says CLIP_REQUIRES and does not.
using RecursiveMutex = AnnotatedMutex<std::recursive_mutex>;
using RecursiveTimedMutex = AnnotatedMutex<std::recursive_timed_mutex>;

// Holds the lock for a scope: `LockScope lock(mMutex);`
template <class MutexKind>
class CLIP_SCOPED_CAPABILITY LockScope {
public:
    explicit LockScope(MutexKind& mutex) CLIP_ACQUIRE(mutex) : mMutex(mutex)
    {
        mMutex.lock();
    }
    ~LockScope() CLIP_RELEASE()
    {
        mMutex.unlock();
    }
    LockScope(const LockScope&) = delete;
    LockScope& operator=(const LockScope&) = delete;

private:
    MutexKind& mMutex;
};

// Tries to take the lock for a limited time, and holds it for a scope if that succeeded. The check can't follow a
// condition like this: to it nothing is held, so it is for locks that guard an activity and no member.
template <class MutexKind>
class TryLockScope {
public:
    template <class Rep, class Period>
    TryLockScope(MutexKind& mutex, const std::chrono::duration<Rep, Period>& limit)
        : mMutex(mutex), mIsHeld(mutex.try_lock_for(limit))
    {
    }
    ~TryLockScope()
    {
        if (mIsHeld)
            mMutex.unlock();
    }
    TryLockScope(const TryLockScope&) = delete;
    TryLockScope& operator=(const TryLockScope&) = delete;

    bool isHeld() const
    {
        return mIsHeld;
    }

private:
    MutexKind& mMutex;
    const bool mIsHeld;
};

// Lets the lock go for a scope and takes it again, however the scope is left: `UnlockScope unlock(mMutex);`
template <class MutexKind>
class CLIP_SCOPED_CAPABILITY UnlockScope {
public:
    explicit UnlockScope(MutexKind& mutex) CLIP_RELEASE(mutex) : mMutex(mutex)
    {
        mMutex.unlock();
    }
    // The word is that of every scope's end: what the scope began is undone.
    ~UnlockScope() CLIP_RELEASE()
    {
        mMutex.lock();
    }
    UnlockScope(const UnlockScope&) = delete;
    UnlockScope& operator=(const UnlockScope&) = delete;

private:
    MutexKind& mMutex;
};

// Waits for a signal; the lock is held before and after. A plain condition variable, which is half as large and waits
// faster than std::condition_variable_any. A wait may end without a reason: test in a loop, or pass the
// test, and annotate it: `[this]() CLIP_REQUIRES(mMutex) { return mReady; }`
inline void waitFor(std::condition_variable& condition, Mutex& mutex) CLIP_REQUIRES(mutex)
{
    std::unique_lock<std::mutex> lock(mutex.native(), std::adopt_lock);
    condition.wait(lock);
    lock.release();
}

// @return what the test said last
template <class Rep, class Period, class Test>
bool waitFor(std::condition_variable& condition, Mutex& mutex, const std::chrono::duration<Rep, Period>& limit,
             Test test) CLIP_REQUIRES(mutex)
{
    std::unique_lock<std::mutex> lock(mutex.native(), std::adopt_lock);
    struct Keeper {
        std::unique_lock<std::mutex>& lock;
        ~Keeper()
        {
            lock.release();  // the caller's scope goes on holding it, an exception of the test included
        }
    } keeper{lock};
    return condition.wait_for(lock, limit, test);
}

}  // namespace sd::clip
