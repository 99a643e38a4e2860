#include "data_object/data_lock.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>

using sd::clip::DataLockScope;

TEST(DataLockScope, AFunctionRunsAtOnceWithoutTheLock)
{
    bool ran = false;
    EXPECT_FALSE(DataLockScope::isHeldByThisThread());
    DataLockScope::runWithoutLock([&ran] { ran = true; });
    EXPECT_TRUE(ran);
}

TEST(DataLockScope, AFunctionWaitsForTheReleaseAndRunsOnTheSameThread)
{
    std::recursive_mutex mutex;
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
    std::recursive_mutex mutex;
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
    std::recursive_mutex mutex;
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
