// Lets the half minute of a wait for a slice pass when a test says so. For one source file of a test program.
#pragma once

#include <windows.h>

#include <atomic>

#include "support/import_hook.h"

// MinGW-w64's runtime measures the wait by imports of the program's own. With another runtime nothing is replaced, and
// the half minute takes its time.
class SliceClock {
public:
    SliceClock()
    {
        sPasses = false;
        sAhead = 0;
    }
    SliceClock(const SliceClock&) = delete;
    SliceClock& operator=(const SliceClock&) = delete;

    // From now on such waits end at once.
    static void passWaits()
    {
        sPasses = true;
    }

private:
    static inline std::atomic<bool> sPasses{false};
    static inline std::atomic<long long> sAhead{0};  // milliseconds

#if defined(__MINGW32__)
    static constexpr DWORD kShortestSliceWait = 25000;  // milliseconds; nothing else in these tests waits that long
    static constexpr DWORD kPause = 10;                 // milliseconds

    static DWORD WINAPI wait(DWORD count, const HANDLE* handles, BOOL all, DWORD milliseconds)
    {
        if (milliseconds < kShortestSliceWait || milliseconds == INFINITE)
            return sWait(count, handles, all, milliseconds);
        for (DWORD waited = 0; waited < milliseconds && !sPasses; waited += kPause) {
            const DWORD result = sWait(count, handles, all, kPause);
            if (result != WAIT_TIMEOUT)
                return result;
        }
        sAhead += milliseconds;
        return WAIT_TIMEOUT;
    }

    static BOOL WINAPI count(LARGE_INTEGER* counter)
    {
        const BOOL result = sCounter(counter);
        LARGE_INTEGER frequency = {};
        QueryPerformanceFrequency(&frequency);
        counter->QuadPart += frequency.QuadPart * sAhead / 1000;
        return result;
    }

    static ULONGLONG WINAPI ticks()
    {
        return sTicks() + static_cast<ULONGLONG>(sAhead);
    }

    // The platform's own, and not what this program's import has become: other threads may call at any time.
    template <class Function>
    static Function find(const char* name)
    {
        const HMODULE platform = GetModuleHandleW(L"kernel32.dll");
        return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(platform, name)));
    }
    static inline const auto sWait = find<decltype(&WaitForMultipleObjects)>("WaitForMultipleObjects");
    static inline const auto sCounter = find<decltype(&QueryPerformanceCounter)>("QueryPerformanceCounter");
    static inline const auto sTicks = find<decltype(&GetTickCount64)>("GetTickCount64");

    ImportHook<decltype(&WaitForMultipleObjects)> mWaitHook{nullptr, "WaitForMultipleObjects", &wait};
    ImportHook<decltype(&QueryPerformanceCounter)> mCounterHook{nullptr, "QueryPerformanceCounter", &count};
    ImportHook<decltype(&GetTickCount64)> mTicksHook{nullptr, "GetTickCount64", &ticks};
#endif
};
