#include "leak_watch.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

constexpr Holdings kAllowed = {5, 5, 5, 5};

// Of runs in which only the handles change.
bool isLeak(const std::vector<std::int64_t>& handles)
{
    LeakWatch watch;
    for (const std::int64_t count : handles)
        watch.add({count, 7, 8, 9});
    const auto growths = watch.compare(kAllowed);
    EXPECT_EQ(growths.size(), 4U);
    EXPECT_TRUE(std::none_of(growths.begin() + 1, growths.end(), [](const Growth& each) { return each.isLeak(); }));
    return growths.front().isLeak();
}

}  // namespace

TEST(LeakWatch, GrowthThatGoesOnIsALeak)
{
    EXPECT_TRUE(isLeak({10, 12, 14, 16, 18, 20, 22, 24, 26, 28, 30, 32}));
    EXPECT_TRUE(isLeak({10, 10, 10, 10, 10, 10, 16, 16, 16, 16, 16, 16}));
}

TEST(LeakWatch, GrowthWithinWhatIsAllowedIsNone)
{
    EXPECT_FALSE(isLeak({10, 10, 10, 10, 10, 10, 15, 15, 15, 15, 15, 15}));
    EXPECT_FALSE(isLeak({30, 28, 26, 24, 22, 20, 18, 16, 14, 12, 10, 8}));
}

TEST(LeakWatch, WarmingUpIsNoLeak)
{
    EXPECT_FALSE(isLeak({1, 100, 150, 200, 200, 200, 200, 200, 200, 200, 200, 200}));
}

TEST(LeakWatch, OneRoundThatStandsOutIsNoLeak)
{
    EXPECT_FALSE(isLeak({10, 10, 10, 10, 10, 10, 10, 10, 10, 10, 99, 10}));
}

TEST(LeakWatch, EachKindIsLookedAt)
{
    LeakWatch watch;
    for (std::int64_t i = 0; i < 12; ++i)
        watch.add({i * 2, i * 4, i * 8, i * 16});
    for (const Growth& each : watch.compare(kAllowed))
        EXPECT_TRUE(each.isLeak()) << each.what;
}

TEST(LeakWatch, SaysNothingOfAFewRounds)
{
    LeakWatch watch;
    for (int i = 0; i < 11; ++i)
        watch.add({});
    EXPECT_TRUE(watch.compare(kAllowed).empty());
}
