// What the benchmark measured: a table for people, lines of JSON for programs.
#pragma once

#include <string>
#include <vector>

struct BenchResult {
    std::string name;
    double value;
    std::string unit;
    double goal;         // value should not pass it
    std::string better;  // "lower" or "higher"
};

class BenchReport {
public:
    void add(BenchResult result);

    // Prints the table to standard output.
    void print() const;

    // Throws std::runtime_error if the file can't be written.
    void writeJsonLines(const std::wstring& path) const;

private:
    std::vector<BenchResult> mResults;
};

// Of an odd count the middle one, of an even count the mean of the two in the middle.
double median(std::vector<double> values);
