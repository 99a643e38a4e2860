// A guest's file list as the host hands it over, before the library takes it.
#pragma once

#include <cstdint>

#include "file_utilities/guest_list_check.h"
#include "sd/clip/clipboard_data.h"

namespace sd::clip {

// Threads: one.
class ReceivedList {
public:
    // @param data any record, or null; stays the caller's, who keeps it as long as this object is asked. A record that
    // is not a file list has no entries.
    explicit ReceivedList(ClipboardData* data);

    // Entries of the list.
    std::int64_t count() const;

    // Whether an entry could land where it must not, with a log line if so. Hostile lists are refused whole, and
    // without an event: no host offers a user half of what the guest copied.
    bool isRefused(PasteRoute route) const;

private:
    ClipboardFileData* const mFiles;  // not owned; null for a record that is not a file list
};

}  // namespace sd::clip
