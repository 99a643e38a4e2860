// What a process holds, for comparing before and after. By decision the library keeps some things for ever; they are
// subtracted by name.
#pragma once

#include <cstddef>
#include <string>

struct HeldThings {
    std::size_t handles = 0;  // without those of the runtime's locks and of kept objects
    std::size_t threads = 0;
    std::size_t windows = 0;
    std::size_t blocks = 0;   // of global memory, made by the library
    std::size_t objects = 0;  // data objects of the library, without those of a failed OleSetClipboard

    static HeldThings now();

    // Once the numbers have stopped changing.
    static HeldThings settled();

    bool isWithin(const HeldThings& limit) const;
    std::string text() const;
};
