// What the drive watchers of the placeholder route cost, and how late a landing is told.
#pragma once

#include <string>

#include "bench_report.h"

// Microseconds that an added file costs the watcher beyond reading its record, while nothing is armed, and while
// something else is armed. Each round is the mean of many records.
BenchResult measureWatchUnarmed();
BenchResult measureWatchArmed();

// Milliseconds from a bare directory reader's sight of a landing to the host's callback, for the same landings.
// `work` is a folder for the files, on a drive that is watched.
BenchResult measureLandingExtra(const std::wstring& work);

// Milliseconds of processor time that this process takes in ten seconds in which nothing happens, watchers running.
BenchResult measureIdleCpu(const std::wstring& work);
