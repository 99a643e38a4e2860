// Which of several records writes the slices of one name.
#include "file_stream/slice_claim.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

using sd::clip::LockScope;
using sd::clip::NextListNumber;
using sd::clip::SliceClaim;

namespace {

constexpr std::uint64_t kOlder = 1;
constexpr std::uint64_t kNewer = 2;

}  // namespace

TEST(SliceClaim, ListsAreNumberedInTheirOrder)
{
    const std::uint64_t first = NextListNumber();
    const std::uint64_t second = NextListNumber();
    EXPECT_LT(first, second);
}

TEST(SliceClaim, ANewerListTakesTheNameFromAnOlderOneForGood)
{
    SliceClaim older(kOlder);
    {
        SliceClaim newer(kNewer);
        EXPECT_TRUE(older.Take("name"));
        EXPECT_FALSE(older.IsLost());
        EXPECT_TRUE(newer.Take("name"));
        EXPECT_TRUE(older.IsLost());
        EXPECT_FALSE(newer.IsLost());
        EXPECT_FALSE(older.Take("name"));
        EXPECT_FALSE(newer.IsLost());
    }
    EXPECT_TRUE(older.IsLost());
}

TEST(SliceClaim, AnOlderListThatComesLateLoses)
{
    SliceClaim older(kOlder);
    SliceClaim newer(kNewer);
    EXPECT_TRUE(newer.Take("name"));
    EXPECT_FALSE(older.Take("name"));
    EXPECT_TRUE(older.IsLost());
    EXPECT_FALSE(newer.IsLost());
}

TEST(SliceClaim, OtherNamesAreNotTaken)
{
    SliceClaim older(kOlder);
    SliceClaim newer(kNewer);
    EXPECT_TRUE(older.Take("name"));
    EXPECT_TRUE(older.Take("second name"));
    EXPECT_TRUE(newer.Take("other name"));
    EXPECT_FALSE(older.IsLost());
    EXPECT_TRUE(newer.Take("second name"));
    EXPECT_TRUE(older.IsLost());
}

TEST(SliceClaim, TakingANameAgainChangesNothing)
{
    SliceClaim claim(kOlder);
    EXPECT_TRUE(claim.Take("name"));
    EXPECT_TRUE(claim.Take("name"));
    EXPECT_FALSE(claim.IsLost());
}

TEST(SliceClaim, TheEndOfAClaimGivesItsNamesBack)
{
    auto newer = std::make_unique<SliceClaim>(kNewer);
    EXPECT_TRUE(newer->Take("name"));
    newer.reset();
    SliceClaim older(kOlder);
    EXPECT_TRUE(older.Take("name"));
    EXPECT_FALSE(older.IsLost());
}

TEST(SliceClaim, TheEndOfALostClaimLeavesTheNameToItsHolder)
{
    auto older = std::make_unique<SliceClaim>(kOlder);
    SliceClaim newer(kNewer);
    EXPECT_TRUE(older->Take("name"));
    EXPECT_TRUE(newer.Take("name"));
    older.reset();
    SliceClaim newest(kNewer + 1);
    EXPECT_TRUE(newest.Take("name"));
    EXPECT_TRUE(newer.IsLost());
}

// The newer list opens the slice right after, and would find bytes behind its own.
TEST(SliceClaim, TakingWaitsForWhatIsBeingWritten)
{
    SliceClaim older(kOlder);
    SliceClaim newer(kNewer);
    ASSERT_TRUE(older.Take("name"));
    std::atomic<bool> hasWritten{false};
    std::atomic<bool> waited{false};
    std::thread taker;
    {
        const LockScope writing(older.WritingMutex());
        taker = std::thread([&] {
            EXPECT_TRUE(newer.Take("name"));
            waited = hasWritten.load();
        });
        while (!older.IsLost())
            std::this_thread::yield();
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        hasWritten = true;
    }
    taker.join();
    EXPECT_TRUE(waited);
}

TEST(SliceClaim, ManyListsMayTakeOneNameAtOnceAndTheNewestHasIt)
{
    constexpr int kLists = 8;
    std::vector<std::unique_ptr<SliceClaim>> claims;
    for (int i = 0; i < kLists; ++i)
        claims.push_back(std::make_unique<SliceClaim>(static_cast<std::uint64_t>(i)));
    std::vector<std::thread> takers;
    for (const auto& claim : claims)
        takers.emplace_back([&claim] { claim->Take("name"); });
    for (std::thread& taker : takers)
        taker.join();
    for (int i = 0; i + 1 < kLists; ++i)
        EXPECT_FALSE(claims[static_cast<std::size_t>(i)]->Take("name")) << i;
    EXPECT_TRUE(claims.back()->Take("name"));
    EXPECT_FALSE(claims.back()->IsLost());
}
