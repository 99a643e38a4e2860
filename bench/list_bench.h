// What a list of files costs before anybody pastes it: whether the cost of a file depends on how many others there are,
// and the memory that is kept.
#pragma once

#include "bench_report.h"

// Both: one list of 100,000 files over 100 lists of 1,000. As many files on both sides, since those of a small list
// that is used again and again stay in the processor's caches.
BenchResult measureGrowthSet();         // SetClipboardData
BenchResult measureGrowthDescriptor();  // the names and sizes for a pasting application

// Bytes in use for each file of a list of 100,000 that stands on the clipboard: the host's record and the library's
// own.
BenchResult measureBytesPerListedFile();
