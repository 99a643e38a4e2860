#include "base/file_time.h"

#include <gtest/gtest.h>

#include <limits>

namespace sd::clip {
namespace {

TEST(FileTimeToUnixTime, TheEpochIsZero)
{
    EXPECT_EQ(0, FileTimeToUnixTime(116444736000000000));
}

TEST(FileTimeToUnixTime, CountsWholeSeconds)
{
    EXPECT_EQ(0, FileTimeToUnixTime(116444736000000000 + 9999999));
    EXPECT_EQ(1, FileTimeToUnixTime(116444736000000000 + 10000000));
    EXPECT_EQ(1700000000, FileTimeToUnixTime(116444736000000000 + 17000000000000000));
}

TEST(FileTimeToUnixTime, TimesBeforeTheEpochAreNegative)
{
    EXPECT_EQ(-11644473600, FileTimeToUnixTime(0));
    EXPECT_EQ(-1, FileTimeToUnixTime(116444736000000000 - 10000000));
    EXPECT_EQ(0, FileTimeToUnixTime(116444736000000000 - 9999999));
}

TEST(FileTimeToUnixTime, TakesTheTwoHalvesOfATime)
{
    constexpr std::uint64_t kTime = 116444736000000000 + 17000000000000000;
    EXPECT_EQ(1700000000, FileTimeToUnixTime(kTime >> 32, kTime & 0xFFFFFFFF));
}

TEST(UnixTimeToFileTime, IsTheWayBack)
{
    EXPECT_EQ(116444736000000000u, UnixTimeToFileTime(0));
    EXPECT_EQ(116444736010000000u, UnixTimeToFileTime(1));
    EXPECT_EQ(133444736000000000u, UnixTimeToFileTime(1700000000));
    EXPECT_EQ(0u, UnixTimeToFileTime(-11644473600));
}

TEST(FileTimeToUnixTime, NoValueOverflows)
{
    EXPECT_EQ(-11644473601, FileTimeToUnixTime(std::numeric_limits<std::uint64_t>::max() - 9999999));
    EXPECT_EQ((std::numeric_limits<std::int64_t>::max() - 116444736000000000) / 10000000,
              FileTimeToUnixTime(static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())));
}

}  // namespace
}  // namespace sd::clip
