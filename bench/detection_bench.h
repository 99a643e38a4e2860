// From another process's clipboard change to the report at the host, against a bare listener window.
#pragma once

#include "bench_report.h"

// How much later OnClipboardFormats is called than a bare window gets WM_CLIPBOARDUPDATE, for the same changes.
BenchResult measureDetectExtra();

// The other process: changes the clipboard. Started by measureDetectExtra.
int runClipboardChanger();
