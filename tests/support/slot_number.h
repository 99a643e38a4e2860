// Which slot of its class's table of virtual operations an operation has; for the C++ ABI of GCC and Clang, where a
// pointer to a virtual member holds one plus the slot's offset. A virtual destructor takes two slots there.
#pragma once

#if defined(__GNUC__)

#include <cstddef>
#include <cstring>

template <class Operation>
int slotNumber(Operation operation)
{
    std::ptrdiff_t offset = 0;
    std::memcpy(&offset, &operation, sizeof offset);
    return static_cast<int>((offset - 1) / static_cast<std::ptrdiff_t>(sizeof(void*)));
}

#endif
