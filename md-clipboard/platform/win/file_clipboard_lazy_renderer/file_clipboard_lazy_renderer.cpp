#include "file_clipboard_lazy_renderer/file_clipboard_lazy_renderer.h"

#include "log.h"

namespace sd::clip {

bool FileClipboardLazyRenderer::ConsumeCopy()
{
    return false;
}

void FileClipboardLazyRenderer::SetSupportFileClipboardFullPostProcessMode(bool supported)
{
    CLIP_LOG(kLogInfo, "Set support file clipboard full post process mode to %d", supported ? 1 : 0);
    mSupportFullPostProcessMode = supported;
}

bool FileClipboardLazyRenderer::GetSupportFileClipboardFullPostProcessMode() const
{
    return mSupportFullPostProcessMode;
}

}  // namespace sd::clip
