#include "file_clipboard_lazy_renderer/file_clipboard_lazy_renderer.h"

#include <utility>

#include "file_utilities/replace_all.h"
#include "log.h"

namespace sd::clip {

bool FileClipboardLazyRenderer::Init(const std::string& cacheDir)
{
    {
        std::string directory = ReplaceAll(cacheDir, "/", "\\");
        std::lock_guard<std::mutex> lock(mStateMutex);
        mCacheDir.swap(directory);
    }
    std::lock_guard<std::mutex> lock(mInitMutex);
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
    std::lock_guard<std::recursive_mutex> lock(mMutex);
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
    std::lock_guard<std::mutex> lock(mStateMutex);
    return mCacheDir;
}

}  // namespace sd::clip
