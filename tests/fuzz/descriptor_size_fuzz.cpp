// The input is a count of entries.
#include "data_object/descriptor_size.h"

#include <algorithm>

#include "fuzz_check.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    std::uint64_t count = 0;
    std::for_each(data, data + size, [&count](std::uint8_t byte) { count = count << 8 | byte; });

    // A count and an entry of 592 bytes for each file; above this count the sum does not fit 32 bits.
    constexpr std::uint64_t kMostFiles = (0xFFFFFFFF - 4) / 592;
    const std::optional<std::uint32_t> block = sd::clip::DescriptorBlockSize(count);
    require(block.has_value() == (count <= kMostFiles), "a block is told for each count that fits, and for no other");
    require(!block || *block == 4 + 592 * count, "the block has room for the count and all entries");
    return 0;
}
