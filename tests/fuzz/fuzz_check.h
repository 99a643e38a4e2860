// What a fuzz target demands of the unit under it.
#pragma once

#include <cstdio>
#include <cstdlib>

// Ends the process, which the fuzzer reports with the input that led here.
inline void require(bool holds, const char* sentence)
{
    if (holds)
        return;
    std::fprintf(stderr, "does not hold: %s\n", sentence);
    std::abort();
}
