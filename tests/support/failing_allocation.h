// Memory that runs out. To be included by the one source file of a test program: it replaces the program's operators.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

// Lets one allocation of this thread fail, the given one from now on (1 is the next), for one scope.
class FailingAllocation {
public:
    explicit FailingAllocation(int which)
    {
        sLeft = which;
    }
    ~FailingAllocation()
    {
        sLeft = 0;
    }
    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;

    // Whether it has failed.
    bool failed() const
    {
        return sLeft == 0;
    }

    static bool failsNow()
    {
        return sLeft > 0 && --sLeft == 0;
    }

    // The blocks of the whole program that nobody has deleted.
    static inline std::atomic<long long> liveBlocks{0};

private:
    static inline thread_local int sLeft = 0;
};

// Through a variable: where both are inlined, a compiler takes the pair of new and free for a mistake.
inline void (*volatile gFreeMemory)(void*) = std::free;

inline void freeCountedMemory(void* memory) noexcept
{
    if (memory != nullptr)
        --FailingAllocation::liveBlocks;
    gFreeMemory(memory);
}

void* operator new(std::size_t size)
{
    void* const memory = FailingAllocation::failsNow() ? nullptr : std::malloc(size == 0 ? 1 : size);
    if (memory == nullptr)
        throw std::bad_alloc();
    ++FailingAllocation::liveBlocks;
    return memory;
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    try {
        return ::operator new(size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

void operator delete(void* memory) noexcept
{
    freeCountedMemory(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept
{
    freeCountedMemory(memory);
}

void operator delete(void* memory, const std::nothrow_t&) noexcept
{
    freeCountedMemory(memory);
}
