// Reads what is on the clipboard into a record for the host.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "clipboard_win/clipboard_guard.h"
#include "sd/clip/clipboard_data.h"

namespace sd::clip {

// Threads: any, at once; the clipboard is open for the calling thread during a read.
class LocalCopyReader {
public:
    // @param guard lives as long as this object
    explicit LocalCopyReader(ClipboardGuard& guard) : mGuard(guard) {}

    // @return null where there is no text, or no access
    std::shared_ptr<ClipboardData> readText() const;

    // The copied files and folders as they were copied, in UTF-8. Their C strings count: each has its terminator
    // counted in its size. The clipboard is free again before a message is written.
    // @return null where there are none, or no access
    std::shared_ptr<std::vector<std::string>> readPaths() const;

    // Looks at files and folders, which can take long; the clipboard is not open meanwhile.
    // @param paths as readPaths gives them
    // @param isExpanded whether a folder stands for the files in it, and not for itself; asked when the paths have been
    //                   looked at
    // @return never null; without an entry if all files are gone
    static std::shared_ptr<ClipboardFileDataImpl> describe(const std::vector<std::string>& paths,
                                                           const std::function<bool()>& isExpanded);

private:
    ClipboardGuard& mGuard;
};

}  // namespace sd::clip
