#pragma once

#include <chrono>
#include <cstdint>
#include <string>

/// Shows how far a paste has come: a bar that is redrawn on a terminal, else a line each second.
class Progress {
public:
    /// @param total bytes of all files as far as the list tells them
    explicit Progress(std::uint64_t total);

    /// @param done bytes so far
    void show(std::uint64_t done);

    /// Leaves the terminal with a fresh line for what comes next.
    void end();

private:
    using Clock = std::chrono::steady_clock;

    const std::uint64_t mTotal;
    const bool mTerminal;
    const Clock::time_point mBegin = Clock::now();
    Clock::time_point mLastShown = mBegin;
    bool mDrawn = false;
};

/// @param seconds since the beginning
/// @return share, bytes, rate and remaining time, with a bar if asked for
std::string formatProgress(std::uint64_t done, std::uint64_t total, double seconds, bool bar);
