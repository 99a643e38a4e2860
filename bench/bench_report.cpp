#include "bench_report.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <utility>

namespace {

bool meetsGoal(const BenchResult& result)
{
    if (!result.goal)
        return true;
    return result.better == "lower" ? result.value <= *result.goal : result.value >= *result.goal;
}

}  // namespace

void BenchReport::add(BenchResult result)
{
    mResults.push_back(std::move(result));
}

void BenchReport::print() const
{
    std::printf("%-24s %12s %12s  %-8s %s\n", "name", "value", "goal", "unit", "");
    for (const BenchResult& result : mResults) {
        char goal[32] = "-";
        if (result.goal)
            std::snprintf(goal, sizeof goal, "%.3f", *result.goal);
        std::printf("%-24s %12.3f %12s  %-8s %s\n", result.name.c_str(), result.value, goal, result.unit.c_str(),
                    meetsGoal(result) ? "" : "MISSED");
    }
}

void BenchReport::writeJsonLines(const std::wstring& path) const
{
    std::ofstream file{std::filesystem::path(path), std::ios::binary};
    for (const BenchResult& result : mResults) {
        nlohmann::ordered_json line;
        line["name"] = result.name;
        line["value"] = result.value;
        line["unit"] = result.unit;
        line["goal"] = result.goal ? nlohmann::ordered_json(*result.goal) : nullptr;
        line["better"] = result.better;
        file << line.dump() << '\n';
    }
    if (!file.flush())
        throw std::runtime_error("the JSON file can't be written");
}

BenchResult readJsonLine(const std::wstring& path)
{
    std::ifstream file{std::filesystem::path(path), std::ios::binary};
    const auto line = nlohmann::json::parse(file, nullptr, false);  // no exceptions
    if (line.is_discarded())
        throw std::runtime_error("a result can't be read");
    BenchResult result;
    result.name = line.at("name");
    result.value = line.at("value");
    result.unit = line.at("unit");
    if (!line.at("goal").is_null())
        result.goal = line.at("goal").get<double>();
    result.better = line.at("better");
    return result;
}

double median(std::vector<double> values)
{
    if (values.empty())
        throw std::runtime_error("nothing was measured");
    std::sort(values.begin(), values.end());
    const std::size_t middle = values.size() / 2;
    return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}
