#include "clipboard_win/work_thread_caller.h"

#include <utility>

#include "base/log.h"
#include "data_object/data_lock.h"
#include "support/sent_messages.h"
#include "workthread/remote_format_file.h"

namespace sd::clip {

namespace {

constexpr auto kMessagePause = std::chrono::milliseconds(10);
constexpr auto kTimeBetweenWakes = std::chrono::seconds(1);

}  // namespace

bool WorkThreadCaller::isInsidePaste()
{
    const bool isInside = DataLockScope::isHeldByThisThread() || RemoteFormatFile::Instance().IsThisThread();
    if (isInside)
        CLIP_LOG(kLogError, "not support set clipboard from inside a paste");
    return isInside;
}

std::future_status WorkThreadCaller::run(std::function<void()> job) const
{
    return waitFor(RemoteFormatFile::Instance().MoveToThread(std::move(job)));
}

void WorkThreadCaller::withdraw()
{
    RemoteFormatFile::Instance().MoveToThread(nullptr);
}

// A caller that joined OLE owns the clipboard that was just emptied, and the work thread's OleSetClipboard sends a
// message to the owner: it is served while waiting. The work thread may not have noticed that its message was dropped.
std::future_status WorkThreadCaller::waitFor(const std::future<FuncExecStatus>& done) const
{
    const auto begin = std::chrono::steady_clock::now();
    auto nextWake = begin + kTimeBetweenWakes;
    for (;;) {
        const std::future_status status = done.wait_for(kMessagePause);
        const auto now = std::chrono::steady_clock::now();
        if (status != std::future_status::timeout || now >= begin + mLongestWait)
            return status;
        ServeSentMessages();
        if (now >= nextWake) {
            RemoteFormatFile::Instance().Wake();
            nextWake = now + kTimeBetweenWakes;
        }
    }
}

}  // namespace sd::clip
