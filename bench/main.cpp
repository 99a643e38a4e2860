// The benchmark: each figure is a ratio or a difference against a baseline that is measured in the same run.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <functional>
#include <map>
#include <string>

#include "bench_report.h"
#include "detection_bench.h"
#include "example_support/utf8_arguments.h"
#include "expansion_bench.h"
#include "lumora_log.h"

// Nothing is measured but the library: its log goes nowhere.
extern "C" void lumoraLogPrint(int /*module*/, int /*level*/, const char* /*tag*/, const char* /*format*/, ...) {}

namespace {

struct Benchmark {
    std::string name;
    std::function<BenchResult()> measure;
};

int runBenchmarks(const std::string& only, const std::string& json, const std::wstring& tree)
{
    const Benchmark benchmarks[] = {
        {"expand_vs_walk", [&tree] { return measureExpandVsWalk(tree); }},
        {"expand_growth", [&tree] { return measureExpandGrowth(tree); }},
        {"expand_bytes_per_file", [&tree] { return measureExpandBytesPerFile(tree); }},
        {"detect_extra_ms", [] { return measureDetectExtra(); }},
    };
    BenchReport report;
    bool found = false;
    for (const Benchmark& benchmark : benchmarks) {
        if (!only.empty() && benchmark.name != only)
            continue;
        found = true;
        std::fprintf(stderr, "measuring %s\n", benchmark.name.c_str());
        report.add(benchmark.measure());
    }
    if (!found) {
        std::fprintf(stderr, "There is no benchmark %s. These are:\n", only.c_str());
        for (const Benchmark& benchmark : benchmarks)
            std::fprintf(stderr, "  %s\n", benchmark.name.c_str());
        return 1;
    }
    report.print();
    if (!json.empty())
        report.writeJsonLines(toUtf16(json));
    return 0;
}

int runCommandLine()
{
    CLI::App app("Measures md-clipboard against bare platform calls", "clip-bench");
    std::string only;
    std::string json;
    std::string tree;
    bool changer = false;
    app.add_option("--only", only, "Measure this one only");
    app.add_option("--json", json, "Write the results to this file too, as lines of JSON");
    app.add_option("--tree", tree, "A folder with 100 folders of 1,000 files each");
    app.add_flag("--changer", changer)->group("");  // for the benchmark's own second process
    const auto arguments = readUtf8Arguments();
    try {
        app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
    } catch (const CLI::ParseError& error) {
        return app.exit(error);
    }
    return changer ? runClipboardChanger() : runBenchmarks(only, json, toUtf16(tree));
}

}  // namespace

int main()
{
    try {
        return runCommandLine();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "clip-bench: %s\n", error.what());
        return 1;
    }
}
