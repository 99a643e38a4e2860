// Waiting for what other threads and programs bring about.
#pragma once

#include <windows.h>

// Whether the condition came true in time.
template <class Condition>
bool waitUntil(const Condition& condition, int milliseconds = 30000)
{
    constexpr DWORD kPause = 5;
    const ULONGLONG end = GetTickCount64() + static_cast<ULONGLONG>(milliseconds);
    while (!condition()) {
        if (GetTickCount64() >= end)
            return false;
        Sleep(kPause);
    }
    return true;
}
