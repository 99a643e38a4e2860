// Random choices that a run can repeat: by one thread in its order, though not the order between threads.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <random>

// Threads: one.
class SeededRandom {
public:
    explicit SeededRandom(std::uint64_t seed) : mEngine(seed) {}

    // From 0 on; the limit is above 0.
    std::size_t below(std::size_t limit)
    {
        return std::uniform_int_distribution<std::size_t>(0, limit - 1)(mEngine);
    }
    bool oneIn(std::size_t count)
    {
        return below(count) == 0;
    }
    template <class Container>
    const auto& pick(const Container& container)
    {
        return *std::next(std::begin(container), static_cast<std::ptrdiff_t>(below(std::size(container))));
    }
    std::uint64_t bits()
    {
        return mEngine();
    }

private:
    std::mt19937_64 mEngine;
};

inline std::uint64_t readNumber(const char* variable, std::uint64_t otherwise)
{
    const char* const text = std::getenv(variable);
    return text != nullptr && *text != '\0' ? std::strtoull(text, nullptr, 10) : otherwise;
}

// MD_CLIPBOARD_STRESS_SEED, or a new one. Printed, so that a run that fails can be repeated.
inline std::uint64_t chooseSeed()
{
    static const std::uint64_t seed = [] {
        const std::uint64_t chosen = readNumber("MD_CLIPBOARD_STRESS_SEED", std::random_device()());
        std::printf("MD_CLIPBOARD_STRESS_SEED=%llu\n", static_cast<unsigned long long>(chosen));
        std::fflush(stdout);
        return chosen;
    }();
    return seed;
}
