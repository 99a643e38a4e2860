#include "counted_memory.h"

#include <malloc.h>

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<std::int64_t> gInUse{0};
std::atomic<std::int64_t> gPeak{0};

void* allocate(std::size_t size)
{
    void* block = std::malloc(size != 0 ? size : 1);
    if (block == nullptr)
        throw std::bad_alloc();
    const std::int64_t inUse = gInUse += static_cast<std::int64_t>(_msize(block));
    std::int64_t peak = gPeak;
    while (inUse > peak && !gPeak.compare_exchange_weak(peak, inUse)) {
    }
    return block;
}

void release(void* block) noexcept
{
    if (block == nullptr)
        return;
    gInUse -= static_cast<std::int64_t>(_msize(block));
    std::free(block);
}

}  // namespace

std::int64_t memoryInUse()
{
    return gInUse;
}

std::int64_t memoryPeak()
{
    return gPeak;
}

void resetMemoryPeak()
{
    gPeak = gInUse.load();
}

void* operator new(std::size_t size)
{
    return allocate(size);
}

void* operator new[](std::size_t size)
{
    return allocate(size);
}

void operator delete(void* block) noexcept
{
    release(block);
}

void operator delete[](void* block) noexcept
{
    release(block);
}

void operator delete(void* block, std::size_t) noexcept
{
    release(block);
}

void operator delete[](void* block, std::size_t) noexcept
{
    release(block);
}
