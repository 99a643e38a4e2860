// What the benchmark measured: a table for people, lines of JSON for programs.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "rounds.h"

struct BenchResult {
    std::string name;
    Rounds rounds;
    std::string unit;
    std::optional<double> goal;  // the median should not pass it; without one it is reported only
    std::string better;          // "lower" or "higher"
};

class BenchReport {
public:
    void add(BenchResult result);

    // Prints the table to standard output.
    void print() const;

    // Throws std::runtime_error if the file can't be written.
    // @param origin when and where it was measured, for each line; may be empty
    void writeJsonLines(const std::wstring& path, const std::string& origin) const;

private:
    std::vector<BenchResult> mResults;
};

// Takes the one result of a file of such lines. Throws std::runtime_error if there is none.
BenchResult readJsonLine(const std::wstring& path);
