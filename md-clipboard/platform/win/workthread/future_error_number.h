// One number for an error of a future or promise, whatever the compiler.
#pragma once

#include <future>

namespace sd::clip {

// The error's number as the logs have it on every compiler; the runtimes number these errors each in its own way.
int futureErrorNumber(const std::future_error& error);

}  // namespace sd::clip
