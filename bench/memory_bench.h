// The memory that a transfer takes.
#pragma once

#include <string>

#include "bench_report.h"

// The most private bytes that 8 GiB through one list take of a process that had a list before. `work` is a folder
// for the files, which never holds more than a few.
BenchResult measurePeak(const std::wstring& work);

// Bytes in use for each small file once it has arrived, beyond those of the list: the records by which it is found and
// read again. Kept as long as the list.
BenchResult measureBytesPerDeliveredFile(const std::wstring& work);
