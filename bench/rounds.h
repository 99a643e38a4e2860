// What repeated rounds of one measurement come to.
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

struct Rounds {
    double median;
    // The median absolute deviation: half of the rounds lie within one spread of the median, so median and spread make
    // an error bar. Rounds that other work on the machine has slowed, which would rule a standard deviation, do not
    // move it as long as they are fewer than half. A single round has none.
    std::optional<double> spread;
    std::size_t count;
};

// What follows throws std::runtime_error if there is no value.

// Of an odd count the middle one, of an even count the mean of the two in the middle.
double median(std::vector<double> values);

Rounds summarize(const std::vector<double>& values);

// Calls the function `count` times. Each call measures one round and returns its value.
template <class Function>
Rounds runRounds(int count, const Function& measureRound)
{
    std::vector<double> values;
    values.reserve(static_cast<std::size_t>(count));
    for (int round = 0; round < count; ++round)
        values.push_back(measureRound());
    return summarize(values);
}
