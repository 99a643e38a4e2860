// A paste by another process, of slices on disk against the platform's stream over memory.
#pragma once

#include <string>

#include "bench_report.h"

// Rates of the reading, with 4, 64 and 256 KiB and 1 MiB in each call on both sides. The same thread serves both.
// `work` is a folder for the files.
BenchResult measurePaste4k(const std::wstring& work);
BenchResult measurePaste64k(const std::wstring& work);
BenchResult measurePaste256k(const std::wstring& work);
BenchResult measurePaste1m(const std::wstring& work);

// The other process: opens both and reads them. Started by these.
int runPaster();
