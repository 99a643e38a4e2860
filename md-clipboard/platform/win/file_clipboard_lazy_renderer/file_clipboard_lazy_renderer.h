// Pastes a guest's file list through one placeholder: an empty file stands on the clipboard as a cut one, and where it
// lands is where the host brings the files.
//
// This class keeps the order of the steps, and what they share under its locks. The steps themselves stand in parts
// that know nothing of this class: cache_cleaning.h, PlaceholderFile, drop_file_publication.h, DriveWatcher, Landing,
// TargetFile, RenderingWait and copied_file.h.
#pragma once

#include <windows.h>

#include <atomic>
#include <cstdint>
#include <future>
#include <list>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "base/annotated_mutex.h"
#include "sd/clip/clipboard_data.h"
#include "support/owned_block.h"

namespace sd::clip {

class PlaceholderFile;

// Threads: Init, PrepareFileLazyRendering and NotifyFileLazyRenderingComplete come from any thread of the host,
// ConsumeCopy from the engine's worker, the mode from anywhere. Each drive has a thread of its own, which is never
// joined: a renderer whose drives are watched must live as long as the process.
//
// Lock order: mMutex, then mStateMutex. mMutex is held across the host's callback, so that a preparation and a landing
// exclude each other; it is recursive, because the callback may prepare the next list.
class FileClipboardLazyRenderer {
public:
    FileClipboardLazyRenderer() = default;
    FileClipboardLazyRenderer(const FileClipboardLazyRenderer&) = delete;
    FileClipboardLazyRenderer& operator=(const FileClipboardLazyRenderer&) = delete;

    // Stores the directory, also when it is called again, and starts to watch every drive once.
    // @param cacheDir UTF-8; slashes become backslashes. Nothing is appended: it must end in a separator, or
    //        placeholders land beside it with its last component before their names.
    // @return whether the drives were listed; a failed call may be repeated
    bool Init(const std::string& cacheDir);

    // Cleans the cache, makes the placeholder and puts it on the clipboard in the place of an earlier one.
    // @param data the list and the callback; null is refused
    // @return whether the placeholder stands on the clipboard; all failures are in the log
    bool PrepareFileLazyRendering(std::shared_ptr<ClipboardFileDataEx> data);

    // Never true: nothing sets what it reads.
    bool IsReady() const;

    // Whether the clipboard change that is being looked at is our own: the one that a preparation caused, or one file
    // from the cache directory.
    bool ConsumeCopy();

    // The host has brought the files. The result stays until the next preparation.
    // Throws std::future_error when it is called a second time for one preparation: the host counts its notifications.
    // @param result 0 for success
    void NotifyFileLazyRenderingComplete(std::int32_t result);

    void SetSupportFileClipboardFullPostProcessMode(bool supported);
    bool GetSupportFileClipboardFullPostProcessMode() const;

private:
    friend class TestAccess;

    bool publishPlaceholder(const std::shared_ptr<ClipboardFileDataEx>& data, PlaceholderFile& placeholder)
        CLIP_REQUIRES(mMutex);
    static bool deleteAllFilesInDirectory(const std::wstring& directory);
    static std::string generateRandomDigits(int count);
    std::string cacheDirectory() const;

    static bool setFilesToClipboardWithDropEffect(const std::vector<std::wstring>& paths, std::uint32_t effect);
    static OwnedBlock prepareDropFilesMemory(const std::vector<std::wstring>& paths);

    bool liesInOwnCache(const std::string& path) const;

    bool monitorAllDrives() CLIP_REQUIRES(mInitMutex);
    void watchDrive(std::wstring root) CLIP_REQUIRES(mInitMutex);
    void watchDirectory(const std::wstring& root);
    void handleAddedFile(const std::wstring& root, const std::string& name);

    bool handleTargetFile(const std::wstring& root, const std::string& name) CLIP_REQUIRES(mMutex);
    static bool renameTargetFile(const std::wstring& source, std::string& newName);
    static bool pathExists(const std::wstring& path);

    bool lazyRenderFileCopy(const std::string& targetDir, const std::string& relativePath, const std::string& fileName)
        CLIP_REQUIRES(mMutex);
    bool waitLazyFileRenderingComplete();
    struct Arming {
        std::shared_ptr<ClipboardFileDataEx> data;
        std::weak_ptr<std::promise<std::int32_t>> promise;  // the next preparation drops it
        std::shared_future<std::int32_t> done;
    };
    Arming arming() const;
    void disarm(const Arming& ended);

    std::shared_ptr<ClipboardFileDataEx> mLazyFileData CLIP_GUARDED_BY(mMutex);  // of the armed paste; null while idle
    std::string mSparseSuffix CLIP_GUARDED_BY(mMutex);                           // eight digits
    std::string mCacheDir CLIP_GUARDED_BY(mStateMutex);                          // with backslashes only
    mutable RecursiveMutex mMutex CLIP_ACQUIRED_BEFORE(mStateMutex);  // a preparation against the handling of a landing
    std::atomic<bool> mPendingOwnCopy{false};                         // the next clipboard change is our own
    bool mReady CLIP_GUARDED_BY(mMutex) = false;
    std::list<std::thread*> mWatchThreads CLIP_GUARDED_BY(mInitMutex);  // one for each drive, never deleted
    std::shared_ptr<std::promise<std::int32_t>> mFileLazyRenderingPromise CLIP_GUARDED_BY(mStateMutex);
    std::atomic<bool> mSupportFullPostProcessMode{false};
    bool mInitialized CLIP_GUARDED_BY(mInitMutex) = false;

    Mutex mInitMutex CLIP_ACQUIRED_BEFORE(mStateMutex);  // of two first calls of Init only one starts the watchers
    mutable Mutex mStateMutex;                           // a leaf: what is shared with threads that take no mMutex
    std::shared_future<std::int32_t> mFileLazyRenderingDone CLIP_GUARDED_BY(mStateMutex);  // of the promise
};

}  // namespace sd::clip
