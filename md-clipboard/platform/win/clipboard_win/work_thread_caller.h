// Has the OLE work thread run a job, and waits for it.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <future>

namespace sd::clip {

enum class FuncExecStatus : std::int32_t;

// Threads: any, at once, but for those of which isInsidePaste is true.
class WorkThreadCaller {
public:
    // Whether the calling thread is in a paste's own function or event, with a log line if so. A list from there would
    // wait for ever: the old data object dies on the thread that serves OLE, and waits there for the data lock that the
    // caller holds, or for the caller itself.
    static bool isInsidePaste();

    // Hands the job over, and waits for up to an hour until it has run or was discarded. Serves sent messages
    // meanwhile. Throws std::future_error where the work thread can't be started or reached.
    // @return timeout if the job still waits or runs
    std::future_status run(std::function<void()> job) const;

    // Takes a job back that still waits, whosever it is.
    static void withdraw();

private:
    friend class TestAccess;

    std::future_status waitFor(const std::future<FuncExecStatus>& done) const;

    std::chrono::seconds mLongestWait{3600};  // no lock: constant
};

}  // namespace sd::clip
