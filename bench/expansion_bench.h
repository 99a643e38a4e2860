// The expansion of a selected tree against a bare walk of the same tree.
#pragma once

#include <string>

#include "bench_report.h"

// The tree is a folder with 100 folders in it that hold 1,000 files each.

// Time of the expansion over that of the walk.
BenchResult measureExpandVsWalk(const std::wstring& tree);

// Time for each file when all are selected at once, over that when they are selected 1,000 at a time. The same files
// on both sides, so that both find the file system's caches alike.
BenchResult measureExpandGrowth(const std::wstring& tree);

// The most memory that one read of the tree has in use, for each file.
BenchResult measureExpandBytesPerFile(const std::wstring& tree);
