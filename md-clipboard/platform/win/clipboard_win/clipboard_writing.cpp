// Puts a guest's file list on the local clipboard. Not there yet: each operation says so and reports failure.
#include "clipboard_win/clipboard_impl.h"
#include "log.h"

namespace sd::clip {

bool ClipboardImpl::SetClipboardData(ClipboardFormat format, std::shared_ptr<ClipboardData> /*data*/)
{
    CLIP_LOG(kLogError, "SetClipboardData is not there yet, format:%d", static_cast<int>(format));
    return false;
}

void ClipboardImpl::NotifyFileTransferFailed(std::uint32_t fail)
{
    CLIP_LOG(kLogError, "NotifyFileTransferFailed is not there yet, fail:%d", static_cast<int>(fail));
}

void ClipboardImpl::NotifyFileLazyRenderingComplete(std::int32_t result)
{
    CLIP_LOG(kLogError, "NotifyFileLazyRenderingComplete is not there yet, result:%d", static_cast<int>(result));
}

}  // namespace sd::clip
