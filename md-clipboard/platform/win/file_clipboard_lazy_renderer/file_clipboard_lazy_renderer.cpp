#include "file_clipboard_lazy_renderer/file_clipboard_lazy_renderer.h"

#include <exception>
#include <optional>
#include <utility>

#include "base/log.h"
#include "file_clipboard_lazy_renderer/drive_roots.h"
#include "file_clipboard_lazy_renderer/drive_watcher.h"
#include "file_clipboard_lazy_renderer/drop_file_publication.h"
#include "file_utilities/encoding.h"
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

bool FileClipboardLazyRenderer::setFilesToClipboardWithDropEffect(const std::vector<std::wstring>& paths,
                                                                  std::uint32_t effect)
{
    return publishDropFiles(paths, effect);
}

OwnedBlock FileClipboardLazyRenderer::prepareDropFilesMemory(const std::vector<std::wstring>& paths)
{
    return makeDropFilesBlock(paths);
}

bool FileClipboardLazyRenderer::monitorAllDrives()
{
    CLIP_LOG(kLogInfo, "Start monitoring all drives.");
    const std::optional<std::vector<std::wstring>> roots = listDriveRoots();
    if (!roots)
        return false;
    CLIP_LOG(kLogInfo, "Logical drive number: %d", static_cast<int>(roots->size()));
    for (const std::wstring& root : *roots)
        watchDrive(root);
    CLIP_LOG(kLogInfo, "Finish monitoring all drives.");
    return true;
}

void FileClipboardLazyRenderer::watchDrive(std::wstring root)
{
    CLIP_LOG(kLogInfo, "Start watching drive %s", WideToUtf8(root).c_str());
    try {
        mWatchThreads.push_back(new std::thread([this, root = std::move(root)] { watchDirectory(root); }));
    } catch (const std::exception& failure) {
        CLIP_LOG(kLogFatal, "Drive can't be watched: %s", failure.what());  // as for any failed watcher: the rest go on
    }
}

void FileClipboardLazyRenderer::watchDirectory(const std::wstring& root)
{
    DriveWatcher(root, [this, &root](const std::string& name) { handleAddedFile(root, name); }).Run();
}

void FileClipboardLazyRenderer::handleAddedFile(const std::wstring& root, const std::string& name)
{
    LockScope lock(mMutex);
    const auto armed = std::dynamic_pointer_cast<ClipboardFileDataExImpl>(mLazyFileData);
    if (armed != nullptr && armed->GetFileLazyRenderingCallback())
        handleTargetFile(root, name);
}

}  // namespace sd::clip
