#include "base/unix_clock.h"

#ifdef _WIN32
#include <windows.h>

#include "base/file_time.h"
#else
#include <ctime>
#endif

namespace sd::clip {

// Under Wine the runtime's time(), which shows the same, takes a hundred times as long. By GetSystemTimeAsFileTime the
// runtime's waits reckon, and tests move the clock of the library alone.
std::int64_t unixNow()
{
#ifdef _WIN32
    FILETIME now;
    GetSystemTimePreciseAsFileTime(&now);
    return FileTimeToUnixTime(now.dwHighDateTime, now.dwLowDateTime);
#else
    return std::time(nullptr);
#endif
}

}  // namespace sd::clip
