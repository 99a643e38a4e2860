#pragma once

#include <windows.h>

// The exit codes of clip-paste.
constexpr DWORD kPasteWritten = 0;
constexpr DWORD kPasteFailed = 1;
constexpr DWORD kPasteStopped = 2;
