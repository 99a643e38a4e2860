// The system's clock, as cheap as it is to be had.
#pragma once

#include <cstdint>

namespace sd::clip {

// @return seconds since 1 January 1970 UTC, rounded towards 1970
// Threads: any.
std::int64_t unixNow();

}  // namespace sd::clip
