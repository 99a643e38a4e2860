#include "file_clipboard_lazy_renderer/rendering_wait.h"

#include <chrono>
#include <utility>

#include "base/log.h"

namespace sd::clip {

namespace {

constexpr auto kReportPause = std::chrono::milliseconds(15000);

}  // namespace

RenderingWait::RenderingWait(std::shared_future<std::int32_t> done, ClipfileDescription target)
    : mDone(std::move(done)), mTarget(std::move(target))
{
}

std::optional<std::int32_t> RenderingWait::Await() const
{
    while (mDone.wait_for(kReportPause) != std::future_status::ready)
        CLIP_LOG(kLogInfo, "Lazy rendering file copy not complete since laste check for %s%s%s", mTarget.root.c_str(),
                 mTarget.relativePath.c_str(), mTarget.fileName.c_str());
    try {
        const std::int32_t result = mDone.get();
        CLIP_LOG(kLogInfo, "Lazy rendering file copy done(%d) for %s%s%s", static_cast<int>(result),
                 mTarget.root.c_str(), mTarget.relativePath.c_str(), mTarget.fileName.c_str());
        return result;
    } catch (const std::future_error&) {
        return std::nullopt;
    }
}

}  // namespace sd::clip
