// Whether a guest's file list is safe to paste. The guest may be hostile: the desktop of whoever pastes trusts the
// names, and every name must stay below the folder it is pasted into.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "sd/clip/clipboard_data.h"

namespace sd::clip {

enum class PasteRoute { kStreamed, kPlaceholder };

struct RefusedEntry {
    std::size_t position;  // in the list
    const char* reason;    // for the log
};

// @return the first entry for which the whole list is refused, if there is one. Sizes are summed on the way: all sums
//         of a transfer stay below 2^63.
// Threads: any.
std::optional<RefusedEntry> FindRefusedEntry(const std::vector<ClipfileDescription>& files, PasteRoute route);

// @param relativeName UTF-8, with separators of either kind
// @return why the name could lead out of the folder that it is joined to; null if it cannot. Names that only another
//         system would give a file, such as a device's, lead nowhere and pass.
const char* DescribeEscape(std::string_view relativeName);

// @return units of UTF-16 that the platform makes of the text, or more: each byte that is no part of a character
//         counts as one
std::size_t CountUtf16Units(std::string_view utf8);

}  // namespace sd::clip
