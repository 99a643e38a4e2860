#include "data_object/descriptor_size.h"

namespace sd::clip {

namespace {

constexpr std::uint32_t kEntrySize = 592;             // a FILEDESCRIPTORW
constexpr std::uint32_t kGroupSize = 4 + kEntrySize;  // a FILEGROUPDESCRIPTORW: a count, and the first entry
constexpr std::uint64_t kMostEntries = (0xFFFFFFFF - kGroupSize) / kEntrySize + 1;

}  // namespace

std::optional<std::uint32_t> DescriptorBlockSize(std::uint64_t count)
{
    if (count > kMostEntries)
        return std::nullopt;
    // No entry wraps to minus one entry, which leaves the count alone.
    return (static_cast<std::uint32_t>(count) - 1) * kEntrySize + kGroupSize;
}

}  // namespace sd::clip
