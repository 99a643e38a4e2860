#include "file_clipboard_lazy_renderer/file_clipboard_lazy_renderer.h"

#include <exception>
#include <optional>
#include <utility>

#include "base/log.h"
#include "data_object/standing_lists.h"
#include "file_clipboard_lazy_renderer/cache_cleaning.h"
#include "file_clipboard_lazy_renderer/copied_file.h"
#include "file_clipboard_lazy_renderer/drive_roots.h"
#include "file_clipboard_lazy_renderer/drive_watcher.h"
#include "file_clipboard_lazy_renderer/drop_file_publication.h"
#include "file_clipboard_lazy_renderer/landing.h"
#include "file_clipboard_lazy_renderer/placeholder_file.h"
#include "file_clipboard_lazy_renderer/placeholder_name.h"
#include "file_clipboard_lazy_renderer/rendering_wait.h"
#include "file_clipboard_lazy_renderer/target_file.h"
#include "file_clipboard_lazy_renderer/target_record.h"
#include "file_utilities/encoding.h"
#include "file_utilities/replace_all.h"
#include "support/serving_lock_scope.h"

namespace sd::clip {

namespace {

constexpr int kSuffixDigits = 8;
constexpr std::uint32_t kMoveEffect = 2;  // DROPEFFECT_MOVE: a paste takes the placeholder away from the cache

}  // namespace

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

bool FileClipboardLazyRenderer::PrepareFileLazyRendering(std::shared_ptr<ClipboardFileDataEx> data)
{
    if (data == nullptr) {
        CLIP_LOG(kLogError, "No file record to render lazily");
        return false;
    }
    CLIP_LOG(kLogInfo, "Start watching file by file clipboard lazy renderer.");
    std::shared_ptr<ClipboardFileDataEx> replaced;  // goes after the lock: its functions are the host's
    ServingLockScope lock(mMutex);
    const std::shared_ptr<ClipboardFileData> target = data->GetTargetClipboardData();  // held for the call, no more

    PlaceholderFile placeholder(cacheDirectory());
    if (publishPlaceholder(data, placeholder)) {
        auto promise = std::make_shared<std::promise<std::int32_t>>();
        {
            LockScope state(mStateMutex);
            mFileLazyRenderingDone = promise->get_future();
            mFileLazyRenderingPromise.swap(promise);
        }
        replaced = std::exchange(mLazyFileData, std::move(data));
        CLIP_LOG(kLogInfo, "Start watching file by file clipboard lazy renderer done.");
        return true;
    }
    replaced = std::exchange(mLazyFileData, nullptr);
    mSparseSuffix.clear();
    mPendingOwnCopy = false;
    placeholder.CloseOnceMore();
    // Decision: the clipboard, which is not open here, is asked to empty itself. That fails without a sound, and stays.
    EmptyClipboard();
    return false;
}

// Everything from the cleaning to the clipboard.
bool FileClipboardLazyRenderer::publishPlaceholder(const std::shared_ptr<ClipboardFileDataEx>& data,
                                                   PlaceholderFile& placeholder)
{
    if (!deleteAllFilesInDirectory(placeholder.WideCacheDir()))
        CLIP_LOG(kLogError, "Unable to clean %s", placeholder.CacheDir().c_str());
    mSparseSuffix = generateRandomDigits(kSuffixDigits);
    if (data->GetFiles().empty()) {
        CLIP_LOG(kLogFatal, "No file to copy");
        return false;
    }
    if (!placeholder.Create(makeSparseName(data->GetFiles().front(), mSparseSuffix)))
        return false;
    const std::vector<std::wstring> paths = {placeholder.Path()};
    // Before the write, since the change may be looked at before the write has returned, and with nothing between that
    // can throw: a flag without a write would swallow the user's next copy.
    mPendingOwnCopy = true;
    if (!setFilesToClipboardWithDropEffect(paths, kMoveEffect)) {
        CLIP_LOG(kLogFatal, "Failed to add file info to clipboard through file clipboard lazy renderer");
        return false;
    }
    return true;
}

// Slices that an application may still read stay: it would get a short file without a word.
bool FileClipboardLazyRenderer::deleteAllFilesInDirectory(const std::wstring& directory)
{
    return cleanDirectory(directory, [](const wchar_t* name) { return StandingLists::Instance().OwnSlice(name); });
}

std::string FileClipboardLazyRenderer::generateRandomDigits(int count)
{
    return makeRandomDigits(count);
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

// A match disarms nothing: whoever pastes the placeholder a second time is served a second time.
bool FileClipboardLazyRenderer::handleTargetFile(const std::wstring& root, const std::string& name)
{
    const std::vector<ClipfileDescription>& files = mLazyFileData->GetFiles();
    if (files.empty())
        return false;
    const auto landing = Landing::Find(root, name, makeSparseName(files.front(), mSparseSuffix));
    if (!landing || landing->LiesInCache(cacheDirectory()))
        return false;
    return lazyRenderFileCopy(landing->Folder(), "", landing->SparseName());
}

bool FileClipboardLazyRenderer::renameTargetFile(const std::wstring& source, std::string& newName)
{
    return TargetFile(source).Rename(newName);
}

bool FileClipboardLazyRenderer::pathExists(const std::wstring& path)
{
    return TargetFile(path).Exists();
}

// The sense of the result is the reverse of what the name suggests, and nobody reads it.
// @return whether the host's callback failed
bool FileClipboardLazyRenderer::lazyRenderFileCopy(const std::string& targetDir, const std::string& relativePath,
                                                   const std::string& fileName)
{
    CLIP_LOG(kLogInfo, "Try to start lazy rendering file copy: %s%s%s", targetDir.c_str(), relativePath.c_str(),
             fileName.c_str());
    const auto data = std::dynamic_pointer_cast<ClipboardFileDataExImpl>(mLazyFileData);
    if (data == nullptr)
        return false;
    data->SetTargetClipboardData(makeTargetRecord(targetDir, relativePath, fileName));
    TargetFile(Utf8ToWide(targetDir + fileName)).Remove();
    const int code = data->GetFileLazyRenderingCallback()(data);
    if (code != 0)
        CLIP_LOG(kLogFatal, "Lazy rendering file copy start failed(%d) for %s%s%s", code, targetDir.c_str(),
                 relativePath.c_str(), fileName.c_str());
    else
        CLIP_LOG(kLogFatal, "Lazy rendering file copy(FullPostProcessMode) remove original file for %s%s%s",
                 targetDir.c_str(), relativePath.c_str(), fileName.c_str());
    return code != 0;
}

void FileClipboardLazyRenderer::NotifyFileLazyRenderingComplete(std::int32_t result)
{
    CLIP_LOG(kLogInfo, "Notify file lazy rendering copy done(%d)", static_cast<int>(result));
    std::shared_ptr<std::promise<std::int32_t>> promise;
    {
        LockScope lock(mStateMutex);
        promise = mFileLazyRenderingPromise;
    }
    if (promise == nullptr) {
        CLIP_LOG(kLogInfo, "FileLazyRenderingPromise is NULL!");
        return;
    }
    promise->set_value(result);
}

// What a flow that has to know the end of the host's copy would wait with; no flow does so far.
// @return whether the host reported success; false too if nothing is armed or a newer preparation came meanwhile
bool FileClipboardLazyRenderer::waitLazyFileRenderingComplete()
{
    const Arming current = arming();
    if (current.data == nullptr || !current.done.valid())
        return false;
    const std::optional<std::int32_t> result = RenderingWait(current.done, readFirstTarget(*current.data)).Await();
    if (!result)
        return false;
    disarm(current);
    return *result == 0;
}

FileClipboardLazyRenderer::Arming FileClipboardLazyRenderer::arming() const
{
    LockScope lock(mMutex);
    LockScope state(mStateMutex);
    return {mLazyFileData, mFileLazyRenderingPromise, mFileLazyRenderingDone};
}

// A newer preparation stays armed. It has another promise; its record may be the same.
void FileClipboardLazyRenderer::disarm(const Arming& ended)
{
    LockScope lock(mMutex);
    LockScope state(mStateMutex);
    if (mFileLazyRenderingPromise != ended.promise.lock())
        return;
    mLazyFileData = nullptr;  // goes with the caller's
    mSparseSuffix.clear();
    mFileLazyRenderingPromise = nullptr;
}

// The flag answers for one change. Later ones that still show the placeholder are known by its folder; a list of
// several files is never our own.
bool FileClipboardLazyRenderer::ConsumeCopy()
{
    const bool pending = mPendingOwnCopy.exchange(false);
    CLIP_LOG(kLogInfo, "Consume file lazy renderer copy %d", pending ? 1 : 0);
    return pending || matchCopiedFile([this](const std::string& path) { return liesInOwnCache(path); });
}

bool FileClipboardLazyRenderer::liesInOwnCache(const std::string& path) const
{
    CLIP_LOG(kLogInfo, "Try to match lazy render cache file for copy: %s", path.c_str());
    if (!liesInCache(path, cacheDirectory()))
        return false;
    CLIP_LOG(kLogInfo, "Copied file path match cache dir, bypass lazy render: %s", path.c_str());
    return true;
}

}  // namespace sd::clip
