// How the placeholder renderer's tests reach what it keeps private, and what they hand to it.
#pragma once

#include <algorithm>
#include <future>
#include <list>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

#include "file_clipboard_lazy_renderer/file_clipboard_lazy_renderer.h"
#include "support/journal.h"

namespace sd::clip {

class TestAccess {
public:
    using Renderer = FileClipboardLazyRenderer;

    // As Init does, without watchers.
    static void setCacheDirectory(Renderer& renderer, std::string directory)
    {
        renderer.mCacheDir = std::move(directory);
    }
    static std::string cacheDirectory(const Renderer& renderer)
    {
        return renderer.cacheDirectory();
    }
    // As a preparation does, without a placeholder.
    static void arm(Renderer& renderer, std::shared_ptr<ClipboardFileDataEx> data, std::string suffix)
    {
        const LockScope lock(renderer.mMutex);
        renderer.mLazyFileData = std::move(data);
        renderer.mSparseSuffix = std::move(suffix);
    }
    static void givePromise(Renderer& renderer)
    {
        const LockScope lock(renderer.mStateMutex);
        renderer.mFileLazyRenderingPromise = std::make_shared<std::promise<std::int32_t>>();
        renderer.mFileLazyRenderingDone = renderer.mFileLazyRenderingPromise->get_future();
    }
    static std::shared_ptr<ClipboardFileDataEx> armedData(const Renderer& renderer)
    {
        const LockScope lock(renderer.mMutex);
        return renderer.mLazyFileData;
    }
    static std::string suffix(const Renderer& renderer)
    {
        const LockScope lock(renderer.mMutex);
        return renderer.mSparseSuffix;
    }
    static std::atomic<bool>& pendingOwnCopy(Renderer& renderer)
    {
        return renderer.mPendingOwnCopy;
    }
    static bool hasPromise(const Renderer& renderer)
    {
        const LockScope lock(renderer.mStateMutex);
        return renderer.mFileLazyRenderingPromise != nullptr;
    }
    static std::shared_future<std::int32_t> renderingDone(const Renderer& renderer)
    {
        const LockScope lock(renderer.mStateMutex);
        return renderer.mFileLazyRenderingDone;
    }
    static std::size_t watchThreads(const Renderer& renderer)
    {
        return renderer.mWatchThreads.size();
    }
    static void setReady(Renderer& renderer)
    {
        renderer.mReady = true;
    }
    static auto lock(Renderer& renderer)
    {
        return std::unique_lock(renderer.mMutex);
    }
    // Whether another thread gets the lock that preparations and landings share.
    static bool isLocked(Renderer& renderer)
    {
        return std::async(std::launch::async,
                          [&renderer] {
                              const std::unique_lock lock(renderer.mMutex, std::try_to_lock);
                              return !lock.owns_lock();
                          })
            .get();
    }

    static bool clean(const std::wstring& directory)
    {
        return Renderer::deleteAllFilesInDirectory(directory);
    }
    static std::string randomDigits(int count)
    {
        return Renderer::generateRandomDigits(count);
    }
    static bool publish(const std::vector<std::wstring>& paths, std::uint32_t effect)
    {
        return Renderer::setFilesToClipboardWithDropEffect(paths, effect);
    }
    static HGLOBAL makeDropFiles(const std::vector<std::wstring>& paths)
    {
        return Renderer::prepareDropFilesMemory(paths).Release();
    }
    static bool monitorAllDrives(Renderer& renderer)
    {
        return renderer.monitorAllDrives();
    }
    static void watch(Renderer& renderer, const std::wstring& root)
    {
        renderer.watchDirectory(root);
    }
    static bool handleTarget(Renderer& renderer, const std::wstring& root, const std::string& name)
    {
        return renderer.handleTargetFile(root, name);
    }
    static bool renameTarget(const std::wstring& source, std::string& newName)
    {
        return Renderer::renameTargetFile(source, newName);
    }
    static bool pathExists(const std::wstring& path)
    {
        return Renderer::pathExists(path);
    }
    static bool renderCopy(Renderer& renderer, const std::string& targetDir, const std::string& relativePath,
                           const std::string& fileName)
    {
        return renderer.lazyRenderFileCopy(targetDir, relativePath, fileName);
    }
    static bool waitComplete(Renderer& renderer)
    {
        return renderer.waitLazyFileRenderingComplete();
    }

    static std::vector<const void*> members(const Renderer& renderer)
    {
        return {&renderer.mLazyFileData,
                &renderer.mSparseSuffix,
                &renderer.mCacheDir,
                &renderer.mMutex,
                &renderer.mPendingOwnCopy,
                &renderer.mReady,
                &renderer.mWatchThreads,
                &renderer.mFileLazyRenderingPromise,
                &renderer.mSupportFullPostProcessMode,
                &renderer.mInitialized,
                &renderer.mInitMutex,
                &renderer.mStateMutex,
                &renderer.mFileLazyRenderingDone};
    }

    static_assert(std::is_same_v<decltype(Renderer::mWatchThreads), std::list<std::thread*>>,
                  "watchers run as long as the process, so nothing ends them");
};

}  // namespace sd::clip

using JournalEntries = std::vector<std::string>;

// A guest's list, as a host hands it over.
inline std::shared_ptr<sd::clip::ClipboardFileDataExImpl> makeGuestRecord(
    const std::vector<std::string>& names, sd::clip::FileLazyRenderingCallback callback = nullptr)
{
    std::vector<sd::clip::ClipfileDescription> files;
    for (const std::string& name : names) {
        files.emplace_back();
        files.back().fileName = name;
    }
    auto record = std::make_shared<sd::clip::ClipboardFileDataExImpl>();
    record->SetFiles(std::move(files));
    record->SetFileLazyRenderingCallback(std::move(callback));
    return record;
}

inline bool fileExists(const std::wstring& path)
{
    return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

// Names in a folder, without those of the folder itself and the one above it, in the order of their characters.
inline std::vector<std::wstring> listNames(const std::wstring& folder)
{
    std::vector<std::wstring> names;
    WIN32_FIND_DATAW entry;
    const HANDLE search = FindFirstFileW((folder + L"\\*").c_str(), &entry);
    if (search == INVALID_HANDLE_VALUE)
        return names;
    do {
        const std::wstring name = entry.cFileName;
        if (name != L"." && name != L"..")
            names.push_back(name);
    } while (FindNextFileW(search, &entry));
    FindClose(search);
    std::sort(names.begin(), names.end());
    return names;
}
