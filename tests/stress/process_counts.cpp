#include "process_counts.h"

#include <tlhelp32.h>

#include <atomic>
#include <cstdint>

#include "support/guarded_heap.h"

namespace {

std::atomic<std::ptrdiff_t> gLive{0};

void* countAllocate(std::size_t size)
{
    void* const block = processAllocator().allocate(size);
    gLive += block != nullptr ? 1 : 0;
    return block;
}

void* countAllocateZeroed(std::size_t count, std::size_t size)
{
    void* const block = processAllocator().allocateZeroed(count, size);
    gLive += block != nullptr ? 1 : 0;
    return block;
}

void* countResize(void* block, std::size_t size)
{
    void* const resized = processAllocator().resize(block, size);
    gLive += (block == nullptr && resized != nullptr ? 1 : 0) - (block != nullptr && size == 0 ? 1 : 0);
    return resized;
}

void countRelease(void* block)
{
    gLive -= block != nullptr ? 1 : 0;
    processAllocator().release(block);
}

}  // namespace

// Asks for every number that a handle can have: Wine's GetProcessHandleCount answers 0.
std::size_t countHandles(std::uintptr_t most)
{
    constexpr std::uintptr_t kStep = 4;
    std::size_t count = 0;
    for (std::uintptr_t number = kStep; number < most; number += kStep) {
        DWORD flags = 0;
        count += GetHandleInformation(reinterpret_cast<HANDLE>(number), &flags) ? 1 : 0;
    }
    return count;
}

std::size_t countThreads()
{
    const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    std::size_t count = 0;
    THREADENTRY32 entry = {};
    entry.dwSize = sizeof entry;
    for (BOOL found = Thread32First(snapshot, &entry); found; found = Thread32Next(snapshot, &entry))
        count += entry.th32OwnerProcessID == GetCurrentProcessId() ? 1 : 0;
    CloseHandle(snapshot);
    return count;
}

LiveBlocks::Hooks::Hooks(HMODULE module)
    : allocate(module, "malloc", reinterpret_cast<void*>(&countAllocate)),
      allocateZeroed(module, "calloc", reinterpret_cast<void*>(&countAllocateZeroed)),
      resize(module, "realloc", reinterpret_cast<void*>(&countResize)),
      release(module, "free", reinterpret_cast<void*>(&countRelease))
{
}

LiveBlocks::LiveBlocks(HMODULE module)
    : mProgram(nullptr), mModule(module != nullptr ? std::make_unique<Hooks>(module) : nullptr)
{
    gLive = 0;
}

std::ptrdiff_t LiveBlocks::count()
{
    return gLive;
}
