// From another process's clipboard change to the report at the host, against a bare listener window.
#pragma once

#include "bench_report.h"

// Median time to OnClipboardFormats less median time to a bare window's WM_CLIPBOARDUPDATE, in the same changes.
BenchResult measureDetectExtra();

// The other process: changes the clipboard and tells when. Started by measureDetectExtra.
int runClipboardChanger();
