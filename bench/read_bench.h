// The stream against bare reading of the same slices, within one process.
#pragma once

#include <string>

#include "bench_report.h"

// Rates of 256 MiB, read with 1 MiB, 64 KiB and 4 KiB in each call on both sides. `work` is a folder for the files.
BenchResult measureRead(const std::wstring& work);
BenchResult measureRead64k(const std::wstring& work);
BenchResult measureRead4k(const std::wstring& work);
