#pragma once

#include <chrono>

// Seconds since it was made.
class Stopwatch {
public:
    double seconds() const
    {
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - mBegun).count();
    }

private:
    const std::chrono::steady_clock::time_point mBegun = std::chrono::steady_clock::now();
};

// @return seconds that the function took
template <class Function>
double timeOf(const Function& function)
{
    const Stopwatch watch;
    function();
    return watch.seconds();
}
