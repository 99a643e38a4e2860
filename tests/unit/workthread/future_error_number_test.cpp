#include "workthread/future_error_number.h"

#include <gtest/gtest.h>

#include <utility>

using sd::clip::futureErrorNumber;

namespace {

// The number of the error that the function raises; -1 if it raises none.
template <class Function>
int numberOfError(Function function)
{
    try {
        function();
    } catch (const std::future_error& error) {
        return futureErrorNumber(error);
    }
    return -1;
}

}  // namespace

TEST(FutureErrorNumber, WaitingForAFutureWithoutAStateIsFour)
{
    // Not every runtime checks for it, so the error that a checking one raises is made here.
    EXPECT_EQ(futureErrorNumber(std::future_error(std::future_errc::no_state)), 4);
}

TEST(FutureErrorNumber, WhatTheRuntimeRaisesForATaskWithoutAStateIsFour)
{
    EXPECT_EQ(numberOfError([] { std::packaged_task<int()>()(); }), 4);
}

TEST(FutureErrorNumber, ABrokenPromiseIsOne)
{
    EXPECT_EQ(numberOfError([] {
                  std::future<int> orphan = std::promise<int>().get_future();
                  orphan.get();
              }),
              1);
}

TEST(FutureErrorNumber, AFutureTakenTwiceIsTwo)
{
    EXPECT_EQ(numberOfError([] {
                  std::promise<int> promise;
                  const auto first = promise.get_future();
                  const auto second = promise.get_future();
              }),
              2);
}

TEST(FutureErrorNumber, AValueSetTwiceIsThree)
{
    EXPECT_EQ(numberOfError([] {
                  std::promise<int> promise;
                  promise.set_value(1);
                  promise.set_value(2);
              }),
              3);
}

TEST(FutureErrorNumber, AnUnknownErrorKeepsItsNumber)
{
    EXPECT_EQ(futureErrorNumber(std::future_error(static_cast<std::future_errc>(77))), 77);
}
