// A paste by another process, of slices on disk against the platform's stream over memory.
#pragma once

#include <string>

#include "bench_report.h"

// Rates of the reading, 64 KiB with each call. The same thread serves both. `work` is a folder for the files.
BenchResult measurePaste(const std::wstring& work);

// The other process: opens both and reads them. Started by measurePaste.
int runPaster();
