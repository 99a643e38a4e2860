// The input is what a directory read left in its buffer.
#include "file_clipboard_lazy_renderer/notification_walk.h"

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

#include "fuzz_check.h"

namespace {

using Record = std::pair<std::uint32_t, std::u16string>;

constexpr std::uint64_t kHeaderSize = 12;

// Reads byte by byte, in numbers that cannot wrap.
class PlainReader {
public:
    PlainReader(const std::uint8_t* data, std::size_t size) : mData(data), mSize(size) {}

    bool hasHeader(std::uint64_t offset) const
    {
        return offset + kHeaderSize <= mSize;
    }

    std::uint64_t word(std::uint64_t offset) const
    {
        std::uint64_t value = 0;
        for (int byte = 3; byte >= 0; --byte)
            value = value * 256 + mData[offset + static_cast<std::uint64_t>(byte)];
        return value;
    }

    // Empty if there is no honest name.
    std::u16string name(std::uint64_t offset) const
    {
        const std::uint64_t length = word(offset + 8);
        std::u16string name;
        if (length % 2 != 0 || length > 8192 || offset + kHeaderSize + length > mSize)
            return name;
        for (std::uint64_t at = offset + kHeaderSize; name.size() < length / 2; at += 2)
            name += static_cast<char16_t>(mData[at] + mData[at + 1] * 256);
        return name;
    }

private:
    const std::uint8_t* mData;
    std::size_t mSize;
};

// What a walk has to visit, told in other words: an honest record is visited unless it is the last of several.
std::vector<Record> expectedVisits(const std::uint8_t* data, std::size_t size)
{
    const PlainReader reader(data, size);
    std::vector<Record> visits;
    std::uint64_t offset = 0;
    for (bool isFirst = true; reader.hasHeader(offset); isFirst = false) {
        const std::uint64_t next = reader.word(offset);
        const std::u16string name = reader.name(offset);
        if ((next == 0 && !isFirst) || name.empty())
            break;
        visits.emplace_back(static_cast<std::uint32_t>(reader.word(offset + 4)), name);
        if (next < kHeaderSize + name.size() * 2)
            break;
        offset += next;
    }
    return visits;
}

std::vector<Record> walk(const unsigned char* buffer, std::size_t size, std::size_t mostVisits)
{
    std::vector<Record> visits;
    sd::clip::walkNotifications(buffer, size, [&visits, mostVisits](std::uint32_t action, const std::u16string& name) {
        visits.emplace_back(action, name);
        return visits.size() < mostVisits ? sd::clip::WalkStep::kGoOn : sd::clip::WalkStep::kAbandon;
    });
    return visits;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    // Memory of exactly this size: a sanitizer sees a step beyond it.
    const std::unique_ptr<unsigned char[]> buffer(new unsigned char[size]);
    std::copy_n(data, size, buffer.get());
    std::vector<Record> expected = expectedVisits(data, size);
    require(walk(buffer.get(), size, size + 1) == expected, "the walk visits each honest record but a last of several");
    if (expected.size() > 1) {
        expected.resize(1);
        require(walk(buffer.get(), size, 1) == expected, "a visitor that abandons is not called again");
    }
    return 0;
}
