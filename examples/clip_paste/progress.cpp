#include "progress.h"

#include <windows.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "example_support/console.h"

namespace {

constexpr int kBarWidth = 30;
constexpr double kMebibyte = 1024.0 * 1024.0;
constexpr auto kBetweenBars = std::chrono::milliseconds(100);
constexpr auto kBetweenLines = std::chrono::seconds(1);

bool isTerminal()
{
    DWORD mode = 0;  // only a terminal has one
    return GetConsoleMode(GetStdHandle(STD_OUTPUT_HANDLE), &mode) != 0;
}

std::string drawBar(double share)
{
    const auto filled = static_cast<std::size_t>(std::lround(share * kBarWidth));
    return "[" + std::string(filled, '#') + std::string(kBarWidth - filled, '.') + "] ";
}

}  // namespace

std::string formatProgress(std::uint64_t done, std::uint64_t total, double seconds, bool bar)
{
    const double share = total > 0 ? std::min(1.0, static_cast<double>(done) / static_cast<double>(total)) : 1.0;
    const double rate = seconds > 0 ? static_cast<double>(done) / seconds : 0;  // bytes a second
    char text[128];
    int length =
        std::snprintf(text, sizeof text, "%3.0f%%  %.1f of %.1f MiB  %.1f MiB/s", share * 100,
                      static_cast<double>(done) / kMebibyte, static_cast<double>(total) / kMebibyte, rate / kMebibyte);
    const std::string soFar(text, static_cast<std::size_t>(std::max(length, 0)));
    const double left = rate > 0 && done < total ? std::ceil(static_cast<double>(total - done) / rate) : 0;
    constexpr double kNoGuess = 100 * 3600;  // seconds; a rate from which so much follows says nothing
    if (left <= 0 || left >= kNoGuess)
        return (bar ? drawBar(share) : "") + soFar;
    const auto remaining = static_cast<unsigned>(left);
    length = std::snprintf(text, sizeof text, "  %u:%02u left", remaining / 60, remaining % 60);
    return (bar ? drawBar(share) : "") + soFar + std::string(text, static_cast<std::size_t>(std::max(length, 0)));
}

Progress::Progress(std::uint64_t total) : mTotal(total), mTerminal(isTerminal()) {}

void Progress::end()
{
    if (mDrawn)
        printText("\n");
    mDrawn = false;
}

void Progress::show(std::uint64_t done)
{
    const auto now = Clock::now();
    const bool due = now - mLastShown >= (mTerminal ? Clock::duration(kBetweenBars) : Clock::duration(kBetweenLines));
    if (!due && !(mTerminal && done >= mTotal))
        return;
    mLastShown = now;
    const double seconds = std::chrono::duration<double>(now - mBegin).count();
    // On a terminal the line is written over the one before; what that had more of is erased with spaces.
    std::string line = formatProgress(done, mTotal, seconds, mTerminal);
    if (mTerminal) {
        constexpr std::size_t kWidth = 78;
        line.resize(std::max(line.size(), kWidth), ' ');
        line.insert(line.begin(), '\r');
    } else {
        line += '\n';
    }
    printText(line);
    mDrawn = mTerminal;
}
