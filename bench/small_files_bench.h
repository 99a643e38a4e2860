// Whether the cost of a small file depends on how many others its list has. The file system's own cost grows with the
// files in a folder, so each cost is divided by that of bare calls for the same names.
#pragma once

#include <string>

#include "bench_report.h"

// Both: cost of a file of 100 bytes in a list of 10,000, over that in a list of 1,000. `work` is a folder for the
// files.
BenchResult measureGrowthDeliver(const std::wstring& work);
BenchResult measureGrowthRead(const std::wstring& work);
