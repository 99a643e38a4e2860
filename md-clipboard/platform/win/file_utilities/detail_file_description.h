// A file's description as the library's own lists hold it.
#pragma once

#include <cstdint>

#include "sd/clip/clipboard_data.h"

namespace sd::clip {

// The type bits of a mode, spelled alike by all C runtimes of the platform.
constexpr std::uint16_t kModeDirectory = 0x4000;
constexpr std::uint16_t kModeRegularFile = 0x8000;

// The description of a file as the library's own lists hold it: "attributes not known" is told from "no attributes".
struct DetailFileDescription : ClipfileDescription {
    static constexpr std::uint32_t kAttributesUnknown = 0xFFFFFFFF;

    DetailFileDescription()
    {
        attributes = kAttributesUnknown;
    }

    explicit DetailFileDescription(const ClipfileDescription& description) : ClipfileDescription(description) {}
};

}  // namespace sd::clip
