// The sink against bare writing of the same bytes. Both leave files of 1 MiB.
#pragma once

#include <string>

#include "bench_report.h"

// Rates of 256 MiB, while an application reads along. `work` is a folder for the files.
BenchResult measureSink64k(const std::wstring& work);
BenchResult measureSink4k(const std::wstring& work);
