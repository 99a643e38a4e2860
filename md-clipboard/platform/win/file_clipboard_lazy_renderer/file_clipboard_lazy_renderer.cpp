#include "file_clipboard_lazy_renderer/file_clipboard_lazy_renderer.h"

#include <utility>

#include "base/log.h"
#include "file_utilities/replace_all.h"

namespace sd::clip {

bool FileClipboardLazyRenderer::Init(const std::string& cacheDir)
{
    {
        std::string directory = ReplaceAll(cacheDir, "/", "\\");
        LockScope lock(mStateMutex);
        mCacheDir.swap(directory);
    }
    LockScope lock(mInitMutex);
    if (mInitialized) {
        CLIP_LOG(kLogInfo, "File clipboard lazy renderer already initialized");
        return true;
    }
    CLIP_LOG(kLogInfo, "Init file clipboard lazy renderer, cache dir %s", cacheDir.c_str());
    mInitialized = monitorAllDrives();
    if (!mInitialized)
        CLIP_LOG(kLogFatal, "Failed to monitor drives!");
    return mInitialized;
}

bool FileClipboardLazyRenderer::IsReady() const
{
    LockScope lock(mMutex);
    return mReady;
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

std::string FileClipboardLazyRenderer::cacheDirectory() const
{
    LockScope lock(mStateMutex);
    return mCacheDir;
}

}  // namespace sd::clip
