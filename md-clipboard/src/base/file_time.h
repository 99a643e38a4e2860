// The platform's file times, and the seconds in which descriptions have theirs.
#pragma once

#include <cstdint>

namespace sd::clip {

// File times are hundreds of nanoseconds since 1 January 1601 UTC.
constexpr std::uint64_t kUnixEpoch = 116444736000000000;  // 1 January 1970 as a file time
constexpr std::int64_t kFileTimesPerSecond = 10000000;

// @return seconds since 1 January 1970 UTC
constexpr std::int64_t FileTimeToUnixTime(std::uint64_t fileTime)
{
    return static_cast<std::int64_t>(fileTime - kUnixEpoch) / kFileTimesPerSecond;
}

// The same for the two halves of a FILETIME.
constexpr std::int64_t FileTimeToUnixTime(std::uint32_t high, std::uint32_t low)
{
    return FileTimeToUnixTime((std::uint64_t{high} << 32) | low);
}

// @param seconds since 1 January 1970 UTC
constexpr std::uint64_t UnixTimeToFileTime(std::int64_t seconds)
{
    return static_cast<std::uint64_t>(seconds * kFileTimesPerSecond) + kUnixEpoch;
}

}  // namespace sd::clip
