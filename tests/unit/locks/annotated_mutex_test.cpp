#include "base/annotated_mutex.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <thread>

using namespace std::chrono_literals;

using sd::clip::LockScope;
using sd::clip::Mutex;
using sd::clip::RecursiveMutex;
using sd::clip::RecursiveTimedMutex;
using sd::clip::TryLockScope;
using sd::clip::UnlockScope;

namespace {

// Whether another thread can take the lock now.
template <class MutexKind>
bool isFree(MutexKind& mutex)
{
    bool taken = false;
    std::thread([&mutex, &taken] {
        if (!mutex.try_lock())
            return;
        taken = true;
        mutex.unlock();
    }).join();
    return taken;
}

// A value that one thread sets and another waits for.
class Mailbox {
public:
    void put(int value)
    {
        {
            LockScope lock(mMutex);
            mValue = value;
        }
        mCondition.notify_all();
        mAnyCondition.notify_all();
    }

    int take()
    {
        LockScope lock(mMutex);
        while (mValue == 0)
            waitFor(mCondition, mMutex);
        return mValue;
    }

    int takeWithAnyCondition()
    {
        LockScope lock(mMutex);
        while (mValue == 0)
            mAnyCondition.wait(mMutex);
        return mValue;
    }

    bool awaitValue(std::chrono::milliseconds limit)
    {
        LockScope lock(mMutex);
        return waitFor(mCondition, mMutex, limit, [this]() CLIP_REQUIRES(mMutex) { return mValue != 0; });
    }

    void awaitFailure()
    {
        LockScope lock(mMutex);
        waitFor(mCondition, mMutex, 10s, []() -> bool { throw std::runtime_error("of the test"); });
    }

    Mutex mMutex;

private:
    std::condition_variable mCondition;
    std::condition_variable_any mAnyCondition;
    int mValue CLIP_GUARDED_BY(mMutex) = 0;
};

}  // namespace

TEST(LockScope, HoldsTheLockToItsEnd)
{
    Mutex mutex;
    {
        const LockScope lock(mutex);
        EXPECT_FALSE(isFree(mutex));
    }
    EXPECT_TRUE(isFree(mutex));
}

TEST(LockScope, HoldsALockThatItsThreadMayTakeAgain)
{
    RecursiveMutex mutex;
    const auto takeAgain = [&mutex] { const LockScope inner(mutex); };
    {
        const LockScope outer(mutex);
        takeAgain();
        EXPECT_FALSE(isFree(mutex)) << "only the last release counts";
    }
    EXPECT_TRUE(isFree(mutex));
}

TEST(UnlockScope, LetsTheLockGoAndTakesItAgain)
{
    Mutex mutex;
    {
        const LockScope lock(mutex);
        {
            const UnlockScope unlock(mutex);
            EXPECT_TRUE(isFree(mutex));
        }
        EXPECT_FALSE(isFree(mutex));
    }
    EXPECT_TRUE(isFree(mutex));
}

TEST(UnlockScope, TakesTheLockAgainWhenAnExceptionLeavesIt)
{
    Mutex mutex;
    const LockScope lock(mutex);
    const auto failUnlocked = [&mutex]() CLIP_REQUIRES(mutex) {
        const UnlockScope unlock(mutex);
        throw std::runtime_error("of the task");
    };
    EXPECT_THROW(failUnlocked(), std::runtime_error);
    EXPECT_FALSE(isFree(mutex));
}

TEST(AnnotatedMutex, ATimedAttemptGivesUpWhileAnotherThreadHoldsTheLock)
{
    RecursiveTimedMutex mutex;
    bool taken = true;
    {
        const LockScope lock(mutex);
        std::thread([&mutex, &taken] { taken = mutex.native().try_lock_for(20ms); }).join();
    }
    EXPECT_FALSE(taken);
    EXPECT_TRUE(isFree(mutex));
}

TEST(TryLockScope, WithoutTheLockItReleasesNothing)
{
    RecursiveTimedMutex mutex;
    const LockScope lock(mutex);
    bool taken = true;
    std::thread([&mutex, &taken] { taken = TryLockScope(mutex, 20ms).isHeld(); }).join();
    EXPECT_FALSE(taken);
    EXPECT_FALSE(isFree(mutex));
}

#if defined(_WIN32)
// The native thread sanitizer does not see the runtime's timed call take a lock.
TEST(AnnotatedMutex, ATimedAttemptTakesAFreeLock)
{
    RecursiveTimedMutex mutex;
    if (!mutex.try_lock_for(60s))
        FAIL() << "nobody else holds it";
    EXPECT_FALSE(isFree(mutex));
    mutex.unlock();
    EXPECT_TRUE(isFree(mutex));
}

TEST(TryLockScope, HoldsAFreeLockToItsEnd)
{
    RecursiveTimedMutex mutex;
    {
        const TryLockScope lock(mutex, 60s);
        EXPECT_TRUE(lock.isHeld());
        EXPECT_FALSE(isFree(mutex));
    }
    EXPECT_TRUE(isFree(mutex));
}
#endif

TEST(AnnotatedMutex, AWaitEndsWithTheSignalAndHoldsTheLock)
{
    Mailbox mailbox;
    std::thread sender([&mailbox] { mailbox.put(7); });
    EXPECT_EQ(mailbox.take(), 7);
    EXPECT_EQ(mailbox.takeWithAnyCondition(), 7);
    sender.join();
    EXPECT_TRUE(isFree(mailbox.mMutex));
}

TEST(AnnotatedMutex, AnyConditionWaitsWithTheLockItself)
{
    Mailbox mailbox;
    std::thread sender([&mailbox] {
        std::this_thread::sleep_for(20ms);
        mailbox.put(7);
    });
    EXPECT_EQ(mailbox.takeWithAnyCondition(), 7);
    sender.join();
}

TEST(AnnotatedMutex, AWaitWithALimitTellsWhatItsTestSaidLast)
{
    Mailbox mailbox;
    EXPECT_FALSE(mailbox.awaitValue(20ms));
    EXPECT_TRUE(isFree(mailbox.mMutex));
    std::thread sender([&mailbox] { mailbox.put(7); });
    EXPECT_TRUE(mailbox.awaitValue(60s));
    sender.join();
    EXPECT_TRUE(isFree(mailbox.mMutex));
}

TEST(AnnotatedMutex, AnExceptionOfTheTestLeavesTheLockToItsScope)
{
    Mailbox mailbox;
    EXPECT_THROW(mailbox.awaitFailure(), std::runtime_error);
    EXPECT_TRUE(isFree(mailbox.mMutex));
}
