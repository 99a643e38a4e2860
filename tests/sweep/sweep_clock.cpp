#include "sweep_clock.h"

#include <algorithm>
#include <atomic>

namespace {

constexpr DWORD kPause = 50;                 // milliseconds, as all that follow
constexpr DWORD kFirstReportPause = 2000;    // of the thread that waits for it
constexpr DWORD kShortestSliceWait = 25000;  // nothing else waits as long, and not for ever
constexpr DWORD kSliceWait = 1500;           // longer than the guest ever takes here

std::atomic<long long> gAhead{0};  // milliseconds

void WINAPI sleepShortly(DWORD milliseconds)
{
    Sleep(std::min(milliseconds, kPause));
}

// The runtime looks at the clock after a wait, and waits on if it was short.
DWORD WINAPI waitForReport(HANDLE handle, DWORD milliseconds)
{
    if (milliseconds <= kFirstReportPause - kPause || milliseconds > kFirstReportPause)
        return WaitForSingleObject(handle, milliseconds);
    const DWORD result = WaitForSingleObject(handle, kPause);
    if (result == WAIT_TIMEOUT)
        gAhead += milliseconds - kPause;
    return result;
}

DWORD WINAPI waitForSlice(DWORD count, const HANDLE* handles, BOOL all, DWORD milliseconds)
{
    if (milliseconds < kShortestSliceWait || milliseconds == INFINITE)
        return WaitForMultipleObjects(count, handles, all, milliseconds);
    const DWORD result = WaitForMultipleObjects(count, handles, all, kSliceWait);
    if (result == WAIT_TIMEOUT)
        gAhead += milliseconds - kSliceWait;
    return result;
}

BOOL WINAPI countAhead(LARGE_INTEGER* counter)
{
    const BOOL result = QueryPerformanceCounter(counter);
    LARGE_INTEGER frequency = {};
    QueryPerformanceFrequency(&frequency);
    counter->QuadPart += frequency.QuadPart * gAhead / 1000;
    return result;
}

ULONGLONG WINAPI tickAhead()
{
    return GetTickCount64() + static_cast<ULONGLONG>(gAhead);
}

}  // namespace

SweepClock::SweepClock(HMODULE library)
    : mSleep(library, "Sleep", &sleepShortly),
      mWait(library, "WaitForSingleObject", &waitForReport),
      mWaits(library, "WaitForMultipleObjects", &waitForSlice),
      mCounter(library, "QueryPerformanceCounter", &countAhead),
      mTicks(library, "GetTickCount64", &tickAhead)
{
}
