#include "file_stream/read_heartbeat.h"

#include "base/unix_clock.h"

namespace sd::clip {

namespace {

constexpr std::int64_t kStallSeconds = 3;

}  // namespace

std::atomic<std::int64_t> gLastReadTime{0};
std::atomic<ReadState> gReadState{ReadState::kNeverRead};

void noteReadActivity()
{
    gLastReadTime = unixNow();
}

bool IsClipboardReadStalled()
{
    const std::int64_t now = unixNow();
    const std::int64_t lastRead = gLastReadTime;
    if (lastRead == 0)
        return false;
    if (gReadState == ReadState::kInRead)
        return false;
    return now - lastRead >= kStallSeconds;
}

}  // namespace sd::clip
