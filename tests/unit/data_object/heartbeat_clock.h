// The clock of the read heartbeat, which a test moves on instead of waiting. For one source file of a test program.
#pragma once

#include <atomic>
#include <cstdint>
#include <ctime>
#include <functional>
#include <thread>
#include <utility>

#include "support/import_hook.h"

// One at a time. The program's own time functions show the moved time too.
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
    static __time64_t look(__time64_t* seconds)
    {
        if (sLookingThread.load() == std::this_thread::get_id()) {
            sLookingThread = std::thread::id();
            std::exchange(sDuringNextLook, nullptr)();
        }
        const __time64_t now = sReal.load()(nullptr) + sAhead;
        if (seconds != nullptr)
            *seconds = now;
        return now;
    }

    static inline std::atomic<decltype(&_time64)> sReal{nullptr};
    static inline std::atomic<std::int64_t> sAhead{0};
    static inline std::atomic<std::thread::id> sLookingThread{};
    static inline std::function<void()> sDuringNextLook;  // that thread's

    const ImportHook<decltype(&_time64)> mHook{nullptr, "_time64", &look};
};
