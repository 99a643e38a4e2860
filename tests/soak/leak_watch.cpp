#include "leak_watch.h"

#include <algorithm>

namespace {

constexpr std::size_t kQuarters = 4;
constexpr std::size_t kFewestRounds = 12;  // three for each median

}  // namespace

void LeakWatch::add(const Holdings& holdings)
{
    mRounds.push_back(holdings);
}

std::vector<Growth> LeakWatch::compare(const Holdings& allowed) const
{
    if (mRounds.size() < kFewestRounds)
        return {};
    const auto median = [this](std::size_t quarter, std::int64_t Holdings::*field) {
        std::vector<std::int64_t> values;
        const std::size_t end = mRounds.size() * (quarter + 1) / kQuarters;
        for (std::size_t i = mRounds.size() * quarter / kQuarters; i < end; ++i)
            values.push_back(mRounds[i].*field);
        const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
        std::nth_element(values.begin(), middle, values.end());
        return *middle;
    };
    const auto compareField = [&](const char* what, std::int64_t Holdings::*field) {
        return Growth{what, median(1, field), median(3, field), allowed.*field};
    };
    return {compareField("handles", &Holdings::handles), compareField("threads", &Holdings::threads),
            compareField("blocks of memory", &Holdings::blocks), compareField("private KiB", &Holdings::kilobytes)};
}
