// What an exception says, where it goes no further than the log.
#pragma once

#include <exception>

namespace sd::clip {

// To be called inside a catch (...).
// @return valid until that handler ends
inline const char* DescribeException() noexcept
{
    try {
        throw;
    } catch (const std::exception& failure) {
        return failure.what();
    } catch (...) {
        return "unknown exception";
    }
}

}  // namespace sd::clip
