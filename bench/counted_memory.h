// Counts what operator new has given out in this program, the library's objects included.
#pragma once

#include <cstdint>

// Bytes that are in use now, and the most since the last reset.
std::int64_t memoryInUse();
std::int64_t memoryPeak();
void resetMemoryPeak();
