// The benchmark: each figure is a ratio or a difference against a baseline that is measured in the same run.
#include <windows.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench_report.h"
#include "detection_bench.h"
#include "example_support/utf8_arguments.h"
#include "expansion_bench.h"
#include "list_bench.h"
#include "lumora_log.h"
#include "memory_bench.h"
#include "paste_bench.h"
#include "read_bench.h"
#include "second_process.h"
#include "sink_bench.h"
#include "small_files_bench.h"
#include "stopwatch.h"
#include "watch_bench.h"

// Nothing is measured but the library: its log goes nowhere.
extern "C" void lumoraLogPrint(int /*module*/, int /*level*/, const char* /*tag*/, const char* /*format*/, ...) {}

namespace {

struct Benchmark {
    std::string name;
    std::function<BenchResult()> measure;
};

struct Options {
    std::string only;
    std::string json;
    std::string origin;
    std::string tree;
    std::string work = std::filesystem::temp_directory_path().u8string();
    std::string into;
    bool changer = false;
    bool paster = false;
};

std::vector<Benchmark> listBenchmarks(const std::wstring& tree, const std::wstring& work)
{
    return {
        {"expand_vs_walk", [=] { return measureExpandVsWalk(tree); }},
        {"expand_growth", [=] { return measureExpandGrowth(tree); }},
        {"expand_bytes_per_file", [=] { return measureExpandBytesPerFile(tree); }},
        {"detect_extra_ms", measureDetectExtra},
        {"sink_64k_vs_raw", [=] { return measureSink64k(work); }},
        {"sink_4k_vs_raw", [=] { return measureSink4k(work); }},
        {"read_vs_raw", [=] { return measureRead(work); }},
        {"read_64k_vs_raw", [=] { return measureRead64k(work); }},
        {"read_4k_vs_raw", [=] { return measureRead4k(work); }},
        {"paste_vs_memory", [=] { return measurePaste64k(work); }},
        {"paste_4k_vs_memory", [=] { return measurePaste4k(work); }},
        {"paste_256k_vs_memory", [=] { return measurePaste256k(work); }},
        {"paste_1m_vs_memory", [=] { return measurePaste1m(work); }},
        {"growth_set", measureGrowthSet},
        {"growth_descriptor", measureGrowthDescriptor},
        {"growth_deliver", [=] { return measureGrowthDeliver(work); }},
        {"growth_read", [=] { return measureGrowthRead(work); }},
        {"peak_mib_8gib", [=] { return measurePeak(work); }},
        {"bytes_per_listed_file", measureBytesPerListedFile},
        {"bytes_per_delivered_file", [=] { return measureBytesPerDeliveredFile(work); }},
        {"watch_unarmed_us", measureWatchUnarmed},
        {"watch_armed_us", measureWatchArmed},
        {"landing_extra_ms", [=] { return measureLandingExtra(work); }},
        {"idle_cpu_ms", [=] { return measureIdleCpu(work); }},
    };
}

// In a process of its own: what another benchmark has left in the heap makes each allocation slower, and drives that
// are watched stay so.
BenchResult measureApart(const Benchmark& benchmark, const std::wstring& work)
{
    const std::wstring file = work + L"\\result.json";
    const std::wstring options = L"--only " + toUtf16(benchmark.name) + L" --into \"" + file + L"\"";
    CreateDirectoryW(work.c_str(), nullptr);
    if (runSecondProcess(options) != 0)
        throw std::runtime_error(benchmark.name + " can't be measured");
    BenchResult result = readJsonLine(file);
    DeleteFileW(file.c_str());
    return result;
}

// A second process says nothing of its own.
BenchResult measureAloud(const Benchmark& benchmark, const Options& options)
{
    if (!options.into.empty())
        return benchmark.measure();
    std::fprintf(stderr, "measuring %s\n", benchmark.name.c_str());
    const Stopwatch watch;
    BenchResult result = options.only.empty() ? measureApart(benchmark, toUtf16(options.work)) : benchmark.measure();
    std::fprintf(stderr, "  took %.1f s\n", watch.seconds());
    return result;
}

int runBenchmarks(const Options& options)
{
    const std::vector<Benchmark> benchmarks = listBenchmarks(toUtf16(options.tree), toUtf16(options.work));
    BenchReport report;
    bool found = false;
    for (const Benchmark& benchmark : benchmarks) {
        if (!options.only.empty() && benchmark.name != options.only)
            continue;
        found = true;
        report.add(measureAloud(benchmark, options));
    }
    if (!found) {
        std::fprintf(stderr, "There is no benchmark %s. These are:\n", options.only.c_str());
        for (const Benchmark& benchmark : benchmarks)
            std::fprintf(stderr, "  %s\n", benchmark.name.c_str());
        return 1;
    }
    if (!options.into.empty()) {
        report.writeJsonLines(toUtf16(options.into), {});
        return 0;
    }
    report.print();
    if (!options.json.empty())
        report.writeJsonLines(toUtf16(options.json), options.origin);
    return 0;
}

int runCommandLine()
{
    CLI::App app("Measures md-clipboard against bare platform calls", "clip-bench");
    Options options;
    app.add_option("--only", options.only, "Measure this one only");
    app.add_option("--json", options.json, "Write the results to this file too, as lines of JSON");
    app.add_option("--origin", options.origin, "When and where this is measured, for these lines");
    app.add_option("--tree", options.tree, "A folder with 100 folders of 1,000 files each");
    app.add_option("--work", options.work,
                   "A folder for files that are made and deleted again, up to 2 GiB at a time; else the temporary one");
    // For the benchmark's own second processes:
    app.add_option("--into", options.into)->group("");
    app.add_flag("--changer", options.changer)->group("");
    app.add_flag("--paster", options.paster)->group("");
    const auto arguments = readUtf8Arguments();
    try {
        app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
    } catch (const CLI::ParseError& error) {
        return app.exit(error);
    }
    if (options.changer)
        return runClipboardChanger();
    return options.paster ? runPaster() : runBenchmarks(options);
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
