// The library's clock, which a test moves on instead of waiting. For one source file of a test program.
#pragma once

#include <windows.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <thread>
#include <utility>

#include "support/file_times.h"
#include "support/import_hook.h"

// One at a time. The runtimes' own clocks and waits stay as they are.
class HeartbeatClock {
public:
    HeartbeatClock()
    {
        sReal = mHook.real();
        sAhead = 0;
        sLookingThread = std::thread::id();
    }
    HeartbeatClock(const HeartbeatClock&) = delete;
    HeartbeatClock& operator=(const HeartbeatClock&) = delete;

    static void advance(std::int64_t seconds)
    {
        sAhead += seconds;
    }

    // Runs inside the next look at the clock, which must be this thread's.
    static void duringNextLook(std::function<void()> function)
    {
        sDuringNextLook = std::move(function);
        sLookingThread = std::this_thread::get_id();
    }

private:
    static void WINAPI look(FILETIME* time)
    {
        if (sLookingThread.load() == std::this_thread::get_id()) {
            sLookingThread = std::thread::id();
            std::exchange(sDuringNextLook, nullptr)();
        }
        sReal.load()(time);
        *time = laterFileTime(*time, sAhead);
    }

    static inline std::atomic<decltype(&GetSystemTimePreciseAsFileTime)> sReal{nullptr};
    static inline std::atomic<std::int64_t> sAhead{0};
    static inline std::atomic<std::thread::id> sLookingThread{};
    static inline std::function<void()> sDuringNextLook;  // that thread's

    const ImportHook<decltype(&GetSystemTimePreciseAsFileTime)> mHook{nullptr, "GetSystemTimePreciseAsFileTime", &look};
};
