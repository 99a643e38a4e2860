#include "data_object/data_lock.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>

using sd::clip::DataLock;
using sd::clip::DataLockScope;

TEST(DataLock, BelongsToOneThreadUntilItsLastUnlock)
{
    DataLock mutex;
    const auto isFree = [&mutex] {
        bool taken = false;
        std::thread([&] {
            taken = mutex.try_lock();
            if (taken)
                mutex.unlock();
        }).join();
        return taken;
    };
    mutex.lock();
    EXPECT_TRUE(mutex.try_lock());
    mutex.lock();
    EXPECT_FALSE(isFree());
    mutex.unlock();
    mutex.unlock();
    EXPECT_FALSE(isFree());
    mutex.unlock();
    EXPECT_TRUE(isFree());
}

TEST(DataLock, LetsOneThreadInAtATime)
{
    constexpr int kRounds = 20000;
    DataLock mutex;
    int count = 0;
    const auto add = [&] {
        for (int i = 0; i < kRounds; ++i) {
            const DataLockScope outer(mutex);
            const DataLockScope inner(mutex);
            ++count;
        }
    };
    std::thread other(add);
    add();
    other.join();
    EXPECT_EQ(count, 2 * kRounds);
}

TEST(DataLockScope, AFunctionRunsAtOnceWithoutTheLock)
{
    bool ran = false;
    EXPECT_FALSE(DataLockScope::isHeldByThisThread());
    DataLockScope::runWithoutLock([&ran] { ran = true; });
    EXPECT_TRUE(ran);
}

TEST(DataLockScope, AFunctionWaitsForTheReleaseAndRunsOnTheSameThread)
{
    DataLock mutex;
    std::string order;
    {
        const DataLockScope lock(mutex);
        EXPECT_TRUE(DataLockScope::isHeldByThisThread());
        DataLockScope::runWithoutLock([&] {
            EXPECT_FALSE(DataLockScope::isHeldByThisThread());
            std::thread([&] { EXPECT_TRUE(mutex.try_lock()); }).join();
            order += "1";
        });
        DataLockScope::runWithoutLock([&order] { order += "2"; });
        EXPECT_EQ(order, "");
    }
    EXPECT_EQ(order, "12");
}

TEST(DataLockScope, AThreadMayTakeTheLockAgainAndOnlyTheLastReleaseCounts)
{
    DataLock mutex;
    bool ran = false;
    {
        const DataLockScope outer(mutex);
        {
            const DataLockScope inner(mutex);
            DataLockScope::runWithoutLock([&ran] { ran = true; });
        }
        EXPECT_FALSE(ran);
    }
    EXPECT_TRUE(ran);
}

TEST(DataLockScope, AFunctionMayTakeTheLockAndAskForMore)
{
    DataLock mutex;
    std::string order;
    {
        const DataLockScope lock(mutex);
        DataLockScope::runWithoutLock([&] {
            const DataLockScope again(mutex);
            DataLockScope::runWithoutLock([&order] { order += "2"; });
            order += "1";
        });
    }
    EXPECT_EQ(order, "12");
}
