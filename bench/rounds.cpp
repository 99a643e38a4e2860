#include "rounds.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

double median(std::vector<double> values)
{
    if (values.empty())
        throw std::runtime_error("nothing was measured");
    std::sort(values.begin(), values.end());
    const std::size_t middle = values.size() / 2;
    return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

Rounds summarize(const std::vector<double>& values)
{
    const double middle = median(values);
    if (values.size() == 1)
        return {middle, {}, 1};
    std::vector<double> deviations;
    deviations.reserve(values.size());
    for (const double value : values)
        deviations.push_back(std::abs(value - middle));
    return {middle, median(deviations), values.size()};
}
