// A heap in which what is wrong shows at once: each block lies before a page that nobody may touch, and where it was is
// such a page once it is freed, for ever. Reads are found too.
#pragma once

#include <cstddef>

// The functions that a program's malloc and its relatives are.
struct Allocator {
    void* (*allocate)(std::size_t size);
    void* (*allocateZeroed)(std::size_t count, std::size_t size);
    void* (*resize)(void* block, std::size_t size);
    void (*release)(void* block);
};

// Has this program, and the library beside it, allocate from the guarded heap if the environment variable
// MD_CLIPBOARD_GUARDED_HEAP is set. To be called once, first in main. What lived before goes on in the runtime's heap,
// as does what a module of the platform makes, and what goes beyond 20,000 blocks at a time.
void guardHeapIfAsked();

// What this process allocates with: the guarded heap's functions or the runtime's.
const Allocator& processAllocator();
