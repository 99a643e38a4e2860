// The formats that a clipboard change offers.
#pragma once

#include <windows.h>

#include <atomic>
#include <functional>
#include <utility>
#include <vector>

#include "sd/clip/clipboard.h"

namespace sd::clip {

class ClipboardEngine;

// Reads no clipboard contents: the host fetches those afterwards.
// Threads: any; one object belongs to one thread.
class OfferedFormats {
public:
    // @return the library's format that a platform format stands for, or 0 if none does
    using Lookup = std::function<ClipboardFormat(UINT platformFormat)>;

    // Asks the platform what the present clipboard offers.
    static OfferedFormats Read();

    // @param formats of the platform, in the order in which it lists them
    explicit OfferedFormats(std::vector<UINT> formats) : mFormats(std::move(formats)) {}

    // What of this the guest is told, in the same order. Files that the guest is not told are an event; throws what the
    // listener throws.
    // @param filesSupported whether the guest takes files; looked at for each offer of files
    // @param engine whose listener is told
    std::vector<ClipboardFormat> forGuest(const Lookup& lookup, const std::atomic<bool>& filesSupported,
                                          ClipboardEngine& engine) const;

private:
    bool passesFileGates(const std::atomic<bool>& filesSupported, ClipboardEngine& engine) const;

    const std::vector<UINT> mFormats;  // no lock: constant
};

}  // namespace sd::clip
