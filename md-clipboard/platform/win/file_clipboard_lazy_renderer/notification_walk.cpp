#include "file_clipboard_lazy_renderer/notification_walk.h"

#include <cstring>
#include <optional>

namespace sd::clip {

namespace {

// What stands before the name in each record.
struct RecordHeader {
    std::uint32_t nextEntryOffset;
    std::uint32_t action;
    std::uint32_t nameLength;  // bytes
};

class NotificationBuffer {
public:
    NotificationBuffer(const unsigned char* bytes, std::size_t size) : mBytes(bytes), mSize(size) {}

    std::optional<RecordHeader> headerAt(std::size_t offset) const
    {
        RecordHeader header = {};
        if (offset > mSize || mSize - offset < sizeof header)
            return std::nullopt;
        std::memcpy(&header, mBytes + offset, sizeof header);
        return header;
    }

    // Empty if the length lies.
    std::u16string nameAt(std::size_t offset, const RecordHeader& header) const
    {
        const std::size_t left = mSize - offset - sizeof header;
        const std::size_t units = header.nameLength / sizeof(char16_t);
        if (header.nameLength % sizeof(char16_t) != 0 || header.nameLength > left || units > kMostNotificationNameUnits)
            return {};
        std::u16string name(units, u'\0');
        std::memcpy(name.data(), mBytes + offset + sizeof header, header.nameLength);
        return name;
    }

private:
    const unsigned char* const mBytes;
    const std::size_t mSize;
};

}  // namespace

void walkNotifications(const unsigned char* bytes, std::size_t size,
                       const std::function<WalkStep(std::uint32_t action, const std::u16string& name)>& visit)
{
    const NotificationBuffer buffer(bytes, size);
    std::size_t offset = 0;
    auto header = buffer.headerAt(offset);
    while (header) {
        const std::u16string name = buffer.nameAt(offset, *header);
        if (name.empty() || visit(header->action, name) == WalkStep::kAbandon)
            return;
        const std::size_t next = header->nextEntryOffset;
        const bool isBehindRecord = next >= sizeof(RecordHeader) + header->nameLength;
        if (next != 0 && (!isBehindRecord || next > size - offset))
            return;
        offset += next;
        // The test looks at the record that is reached now, so the last of several is never visited.
        header = buffer.headerAt(offset);
        if (header && header->nextEntryOffset == 0)
            return;
    }
}

}  // namespace sd::clip
