// The size of the block in which a data object hands out its list of files.
#pragma once

#include <cstdint>
#include <optional>

namespace sd::clip {

// @param count entries of the list
// @return bytes of the block; nothing if they do not fit the 32 bits that the formats on a clipboard have for a size
std::optional<std::uint32_t> DescriptorBlockSize(std::uint64_t count);

}  // namespace sd::clip
