// Median and spread of a benchmark's rounds.
#include "rounds.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <vector>

TEST(RoundsTest, Median_IsTheMiddleOne)
{
    EXPECT_EQ(median({3, 1, 2}), 2);
    EXPECT_EQ(median({7}), 7);
}

TEST(RoundsTest, Median_OfAnEvenCountIsTheMeanOfTheTwoInTheMiddle)
{
    EXPECT_EQ(median({4, 1, 2, 100}), 3);
}

TEST(RoundsTest, Median_OfNothingIsRefused)
{
    EXPECT_THROW(median({}), std::runtime_error);
    EXPECT_THROW(summarize({}), std::runtime_error);
}

TEST(RoundsTest, Spread_HoldsHalfOfTheRounds)
{
    const Rounds rounds = summarize({10, 11, 12, 14, 18});
    EXPECT_EQ(rounds.median, 12);
    EXPECT_EQ(rounds.spread, 2);  // from 10 to 14
    EXPECT_EQ(rounds.count, 5U);
}

TEST(RoundsTest, Spread_IsTheSameWhereFewRoundsWereDisturbed)
{
    EXPECT_EQ(summarize({10, 11, 12, 13, 14}).spread, 1);
    EXPECT_EQ(summarize({10, 11, 12, 13, 1000}).spread, 1);
}

TEST(RoundsTest, Spread_IsNotKnownOfASingleRound)
{
    const Rounds rounds = summarize({5});
    EXPECT_EQ(rounds.median, 5);
    EXPECT_FALSE(rounds.spread);
    EXPECT_EQ(rounds.count, 1U);
}

TEST(RoundsTest, Spread_OfEqualRoundsIsZero)
{
    EXPECT_EQ(summarize({5, 5}).spread, 0);
}

TEST(RoundsTest, RunRounds_CallsForEachRoundAndTakesTheMedian)
{
    int calls = 0;
    const Rounds rounds = runRounds(5, [&calls] { return static_cast<double>(++calls); });
    EXPECT_EQ(calls, 5);
    EXPECT_EQ(rounds.median, 3);
    EXPECT_EQ(rounds.count, 5U);
}
