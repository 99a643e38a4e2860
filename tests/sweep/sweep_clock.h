// Makes the library's long waits short.
#pragma once

#include <windows.h>

#include "support/import_hook.h"

// Its pauses take some hundredths of a second, its wait for the first report too, and its half minute for a slice a
// second and a half. MinGW-w64's runtime makes its waits by imports of the module; with another runtime they take
// their time.
class SweepClock {
public:
    explicit SweepClock(HMODULE library);

private:
    ImportHook<decltype(&Sleep)> mSleep;
    ImportHook<decltype(&WaitForSingleObject)> mWait;
    ImportHook<decltype(&WaitForMultipleObjects)> mWaits;
    ImportHook<decltype(&QueryPerformanceCounter)> mCounter;
    ImportHook<decltype(&GetTickCount64)> mTicks;
};
