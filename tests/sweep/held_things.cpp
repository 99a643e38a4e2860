#include "held_things.h"

#include <windows.h>

#include <algorithm>
#include <set>

#include "global_blocks.h"
#include "runtime_handles.h"
#include "stress/process_counts.h"
#include "sweep_log.h"

namespace {

constexpr std::uintptr_t kMostHandle = 0x2000;  // some twenty times what a process has here

BOOL CALLBACK addOwn(HWND window, LPARAM windows)
{
    DWORD process = 0;
    GetWindowThreadProcessId(window, &process);
    if (process == GetCurrentProcessId())
        reinterpret_cast<std::set<HWND>*>(windows)->insert(window);
    return TRUE;
}

std::size_t countWindows()
{
    std::set<HWND> windows;
    EnumWindows(&addOwn, reinterpret_cast<LPARAM>(&windows));
    HWND window = nullptr;
    while ((window = FindWindowExW(HWND_MESSAGE, window, nullptr, nullptr)) != nullptr)
        addOwn(window, reinterpret_cast<LPARAM>(&windows));
    return windows.size();
}

}  // namespace

HeldThings HeldThings::now()
{
    // The guest's list, whose record such an object holds, has two events.
    constexpr std::size_t kHandlesOfKeptObject = 2;
    HeldThings held;
    held.handles = countHandles(kMostHandle) - RuntimeHandles::count() -
                   kHandlesOfKeptObject * static_cast<std::size_t>(SweepLog::keptObjects());
    held.threads = countThreads();
    held.windows = countWindows();
    held.blocks = GlobalBlocks::count();
    held.objects = static_cast<std::size_t>(std::max(SweepLog::liveObjects(), 0));
    return held;
}

HeldThings HeldThings::settled()
{
    constexpr DWORD kPause = 100;  // milliseconds
    constexpr int kSame = 5;
    constexpr int kMost = 100;
    HeldThings last = now();
    for (int i = 0, same = 0; i < kMost && same < kSame; ++i) {
        Sleep(kPause);
        const HeldThings next = now();
        same = next.isWithin(last) && last.isWithin(next) ? same + 1 : 0;
        last = next;
    }
    return last;
}

bool HeldThings::isWithin(const HeldThings& limit) const
{
    return handles <= limit.handles && threads <= limit.threads && windows <= limit.windows && blocks <= limit.blocks &&
           objects <= limit.objects;
}

std::string HeldThings::text() const
{
    return std::to_string(handles) + " handles, " + std::to_string(threads) + " threads, " + std::to_string(windows) +
           " windows, " + std::to_string(blocks) + " blocks, " + std::to_string(objects) + " data objects";
}
