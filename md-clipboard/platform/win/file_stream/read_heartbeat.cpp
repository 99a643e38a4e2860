#include "file_stream/read_heartbeat.h"

#include <ctime>

namespace sd::clip {

namespace {

constexpr std::int64_t kStallSeconds = 3;

std::int64_t nowInSeconds()
{
#ifdef _WIN32
    return _time64(nullptr);
#else
    return std::time(nullptr);
#endif
}

}  // namespace

std::atomic<std::int64_t> gLastReadTime{0};
std::atomic<ReadState> gReadState{ReadState::kNeverRead};

void noteReadActivity()
{
    gLastReadTime = nowInSeconds();
}

bool IsClipboardReadStalled()
{
    const std::int64_t now = nowInSeconds();
    const std::int64_t lastRead = gLastReadTime;
    if (lastRead == 0)
        return false;
    if (gReadState == ReadState::kInRead)
        return false;
    return now - lastRead >= kStallSeconds;
}

}  // namespace sd::clip
