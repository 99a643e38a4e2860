// The platform's times, as numbers and for a test's clock.
#pragma once

#include <windows.h>

#include <cstdint>

constexpr std::int64_t kTicksPerSecond = 10000000;

// Hundreds of nanoseconds since 1 January 1601.
inline std::uint64_t ticks(const FILETIME& time)
{
    return (static_cast<std::uint64_t>(time.dwHighDateTime) << 32) | time.dwLowDateTime;
}

inline FILETIME fileTime(std::uint64_t ticks)
{
    return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

inline FILETIME laterFileTime(const FILETIME& time, std::int64_t seconds)
{
    return fileTime(ticks(time) + static_cast<std::uint64_t>(seconds * kTicksPerSecond));
}

// Seconds since 1 January 1970.
inline FILETIME unixFileTime(std::int64_t seconds)
{
    return laterFileTime(fileTime(116444736000000000), seconds);
}
