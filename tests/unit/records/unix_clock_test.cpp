#include "base/unix_clock.h"

#include <gtest/gtest.h>

#include <ctime>
#ifdef _WIN32
#include "support/file_times.h"
#include "support/import_hook.h"
#endif

using sd::clip::unixNow;

// The runtime's clock may have another step.
TEST(UnixClock, ShowsTheSecondsOfTheRuntimesClock)
{
    const std::int64_t before = std::time(nullptr);
    const std::int64_t now = unixNow();
    EXPECT_GE(now, before - 1);
    EXPECT_LE(now, static_cast<std::int64_t>(std::time(nullptr)) + 1);
}

#ifdef _WIN32
TEST(UnixClock, IsRoundedToWholeSeconds)
{
    static std::uint64_t now = 0;
    const ImportHook<decltype(&GetSystemTimePreciseAsFileTime)> clock(
        nullptr, "GetSystemTimePreciseAsFileTime", +[](FILETIME* time) { *time = fileTime(now); });
    now = ticks(unixFileTime(1700000000));
    EXPECT_EQ(unixNow(), 1700000000);
    now += 9999999;
    EXPECT_EQ(unixNow(), 1700000000);
    now += 1;
    EXPECT_EQ(unixNow(), 1700000001);
    now = ticks(unixFileTime(-5));
    EXPECT_EQ(unixNow(), -5);
}
#endif
