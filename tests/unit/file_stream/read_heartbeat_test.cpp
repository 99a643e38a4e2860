#include "file_stream/read_heartbeat.h"

#include <gtest/gtest.h>

#include "base/unix_clock.h"

using sd::clip::gLastReadTime;
using sd::clip::gReadState;
using sd::clip::IsClipboardReadStalled;
using sd::clip::noteReadActivity;
using sd::clip::ReadState;
using sd::clip::unixNow;

namespace {

// The answer for a last read so long ago, asked within one second of the clock.
bool isStalledAfter(std::int64_t seconds, ReadState state)
{
    gReadState = state;
    for (;;) {
        const std::int64_t now = unixNow();
        gLastReadTime = now - seconds;
        const bool stalled = IsClipboardReadStalled();
        if (unixNow() == now)
            return stalled;
    }
}

}  // namespace

// First, while the program has touched nothing.
TEST(ReadHeartbeat, AtTheStartNothingWasRead)
{
    EXPECT_EQ(gLastReadTime, 0);
    EXPECT_EQ(gReadState, ReadState::kNeverRead);
    EXPECT_FALSE(IsClipboardReadStalled());
}

TEST(ReadHeartbeat, TheStatesKeepTheirNumbers)
{
    EXPECT_EQ(static_cast<int>(ReadState::kNeverRead), 0);
    EXPECT_EQ(static_cast<int>(ReadState::kInRead), 1);
    EXPECT_EQ(static_cast<int>(ReadState::kBetweenReads), 2);
    EXPECT_EQ(sizeof(ReadState), 4u);
}

TEST(ReadHeartbeat, WithoutALastReadThereIsNoStallInAnyState)
{
    gLastReadTime = 0;
    for (const ReadState state : {ReadState::kNeverRead, ReadState::kInRead, ReadState::kBetweenReads}) {
        gReadState = state;
        EXPECT_FALSE(IsClipboardReadStalled()) << static_cast<int>(state);
    }
}

TEST(ReadHeartbeat, InsideAReadThereIsNoStallHoweverOldItIs)
{
    EXPECT_FALSE(isStalledAfter(3, ReadState::kInRead));
    EXPECT_FALSE(isStalledAfter(1000000, ReadState::kInRead));
}

TEST(ReadHeartbeat, ThreeSecondsOfSilenceAreAStall)
{
    EXPECT_TRUE(isStalledAfter(3, ReadState::kNeverRead));
    EXPECT_TRUE(isStalledAfter(3, ReadState::kBetweenReads));
    EXPECT_TRUE(isStalledAfter(1000000, ReadState::kBetweenReads));
}

TEST(ReadHeartbeat, TwoSecondsOfSilenceAreNone)
{
    EXPECT_FALSE(isStalledAfter(2, ReadState::kNeverRead));
    EXPECT_FALSE(isStalledAfter(2, ReadState::kBetweenReads));
}

// The clock of the machine may be set back between two reads.
TEST(ReadHeartbeat, ALastReadInTheFutureIsNoStall)
{
    EXPECT_FALSE(isStalledAfter(-10, ReadState::kBetweenReads));
}

TEST(ReadHeartbeat, ActivityIsNotedAsThePresentTime)
{
    gLastReadTime = 0;
    const std::int64_t before = unixNow();
    noteReadActivity();
    EXPECT_GE(gLastReadTime, before);
    EXPECT_LE(gLastReadTime, unixNow());
}
