// The wait for the host's report that it has brought the files of a landing.
#pragma once

#include <cstdint>
#include <future>
#include <optional>

#include "sd/clip/clipboard_data.h"

namespace sd::clip {

// Threads: the one that waits. No lock is held meanwhile.
class RenderingWait {
public:
    // @param done what the host's report completes; not one without a promise
    // @param target where the files are wanted, for the log
    RenderingWait(std::shared_future<std::int32_t> done, ClipfileDescription target);

    // Blocks without a limit, with a line in the log every fifteen seconds.
    // @return what the host reported, 0 for success; nothing if the promise goes without a report, as it does when a
    //         newer list is prepared
    std::optional<std::int32_t> Await() const;

private:
    const std::shared_future<std::int32_t> mDone;
    const ClipfileDescription mTarget;
};

}  // namespace sd::clip
