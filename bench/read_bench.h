// The stream against bare reading of the same slices, within one process.
#pragma once

#include <string>

#include "bench_report.h"

// Rates of 512 MiB, 1 MiB with each call. `work` is a folder for the files.
BenchResult measureRead(const std::wstring& work);
