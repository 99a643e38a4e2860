#include "file_stream/medium_base.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <memory>
#include <type_traits>
#include <vector>

namespace sd::clip {

class TestAccess {
public:
    static Mutex& mutex(MediumBase& medium)
    {
        return medium.mMutex;
    }
    static bool cancelled(const MediumBase& medium)
    {
        return medium.mCancelled;
    }
    static std::function<bool()>& destroyFunc(MediumBase& medium)
    {
        return medium.mDestroyFunc;
    }
    static std::vector<const void*> members(const MediumBase& medium)
    {
        return {&medium.mMutex, &medium.mCancelled, &medium.mDestroyFunc};
    }

    static_assert(std::is_same_v<decltype(MediumBase::mCancelled), std::atomic<bool>>, "it is read without the lock");
};

}  // namespace sd::clip

using sd::clip::MediumBase;
using sd::clip::TestAccess;

namespace {

class DerivedMedium : public MediumBase {
public:
    explicit DerivedMedium(std::vector<int>& order) : mOrder(order) {}
    DerivedMedium(const DerivedMedium&) = delete;
    DerivedMedium& operator=(const DerivedMedium&) = delete;
    ~DerivedMedium() override
    {
        mOrder.push_back(1);
    }

private:
    std::vector<int>& mOrder;
};

}  // namespace

TEST(MediumBase, IsNotCancelledAtFirstAndHasNothingToCallAtItsEnd)
{
    MediumBase medium;
    EXPECT_FALSE(TestAccess::cancelled(medium));
    EXPECT_FALSE(TestAccess::destroyFunc(medium));
}

TEST(MediumBase, CancelMarksItForGood)
{
    MediumBase medium;
    medium.Cancel();
    medium.Cancel();
    EXPECT_TRUE(TestAccess::cancelled(medium));
}

TEST(MediumBase, CancelWaitsForTheHolderOfTheLock)
{
    MediumBase medium;
    std::unique_lock lock(TestAccess::mutex(medium));
    auto cancelled = std::async(std::launch::async, [&] { medium.Cancel(); });
    EXPECT_EQ(cancelled.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
    EXPECT_FALSE(TestAccess::cancelled(medium));
    lock.unlock();
    cancelled.get();
    EXPECT_TRUE(TestAccess::cancelled(medium));
}

TEST(MediumBase, ItsLastActIsToCallTheDestroyFunction)
{
    std::vector<int> order;
    std::unique_ptr<MediumBase> medium = std::make_unique<DerivedMedium>(order);
    TestAccess::destroyFunc(*medium) = [&] {
        order.push_back(2);
        return false;
    };
    medium.reset();
    EXPECT_EQ(order, (std::vector<int>{1, 2}));
}

TEST(MediumBase, ItsMembersKeepTheirOrder)
{
    const MediumBase medium;
    const auto members = TestAccess::members(medium);
    EXPECT_LT(members[0], members[1]);
    EXPECT_LT(members[1], members[2]);
}
