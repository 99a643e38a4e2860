#include "bench_report.h"

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
    const double value = result.rounds.median;
    return result.better == "lower" ? value <= *result.goal : value >= *result.goal;
}

std::string formatNumber(const std::optional<double>& number)
{
    char text[32] = "-";
    if (number)
        std::snprintf(text, sizeof text, "%.3f", *number);
    return text;
}

nlohmann::ordered_json toJson(const std::optional<double>& number)
{
    return number ? nlohmann::ordered_json(*number) : nullptr;
}

std::optional<double> toNumber(const nlohmann::json& value)
{
    return value.is_null() ? std::nullopt : std::optional<double>(value.get<double>());
}

}  // namespace

void BenchReport::add(BenchResult result)
{
    mResults.push_back(std::move(result));
}

void BenchReport::print() const
{
    constexpr char kLine[] = "%-24s %10s %10s %10s  %-6s %s\n";
    std::printf(kLine, "name", "value", "spread", "goal", "unit", "");
    for (const BenchResult& result : mResults)
        std::printf(kLine, result.name.c_str(), formatNumber(result.rounds.median).c_str(),
                    formatNumber(result.rounds.spread).c_str(), formatNumber(result.goal).c_str(), result.unit.c_str(),
                    meetsGoal(result) ? "" : "MISSED");
}

void BenchReport::writeJsonLines(const std::wstring& path, const std::string& origin) const
{
    std::ofstream file{std::filesystem::path(path), std::ios::binary};
    for (const BenchResult& result : mResults) {
        nlohmann::ordered_json line;
        line["name"] = result.name;
        line["value"] = result.rounds.median;
        line["spread"] = toJson(result.rounds.spread);
        line["rounds"] = result.rounds.count;
        line["unit"] = result.unit;
        line["goal"] = toJson(result.goal);
        line["better"] = result.better;
        if (!origin.empty())
            line["origin"] = origin;
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
    result.rounds = {line.at("value"), toNumber(line.at("spread")), line.at("rounds")};
    result.unit = line.at("unit");
    result.goal = toNumber(line.at("goal"));
    result.better = line.at("better");
    return result;
}
