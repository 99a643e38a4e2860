// A host whose placeholders are pasted on real drives. Watchers are never stopped, so a test program has one renderer,
// which is never destroyed, and its tests follow one another on it.
#pragma once

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "file_utilities/encoding.h"
#include "renderer_access.h"
#include "support/recording_log.h"
#include "support/temporary_folder.h"

// A folder of drive D, for one scope.
class SecondDriveFolder {
public:
    SecondDriveFolder() : mPath(L"D:\\test-" + std::to_wstring(GetCurrentProcessId()))
    {
        CreateDirectoryW(mPath.c_str(), nullptr);
    }
    ~SecondDriveFolder()
    {
        for (const std::wstring& name : listNames(mPath))
            DeleteFileW((mPath + L"\\" + name).c_str());
        RemoveDirectoryW(mPath.c_str());
    }
    SecondDriveFolder(const SecondDriveFolder&) = delete;
    SecondDriveFolder& operator=(const SecondDriveFolder&) = delete;

    const std::wstring& path() const
    {
        return mPath;
    }

private:
    const std::wstring mPath;
};

// What the host was told.
class ReportedLandings {
public:
    sd::clip::FileLazyRenderingCallback callback(std::function<int()> during = nullptr)
    {
        return [this, during = std::move(during)](const std::shared_ptr<sd::clip::ClipboardFileDataEx>& data) {
            {
                const std::lock_guard<std::mutex> lock(mMutex);
                mRoots.push_back(data->GetTargetClipboardData()->GetFiles().at(0).root);
                mChanged.notify_all();
            }
            return during ? during() : 0;
        };
    }

    std::vector<std::string> roots() const
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        return mRoots;
    }

    bool waitFor(const std::string& root, std::size_t times, int milliseconds) const
    {
        std::unique_lock<std::mutex> lock(mMutex);
        return mChanged.wait_for(lock, std::chrono::milliseconds(milliseconds), [&] {
            return static_cast<std::size_t>(std::count(mRoots.begin(), mRoots.end(), root)) >= times;
        });
    }

    std::size_t count(const std::string& root) const
    {
        const auto all = roots();
        return static_cast<std::size_t>(std::count(all.begin(), all.end(), root));
    }

private:
    mutable std::mutex mMutex;
    mutable std::condition_variable mChanged;
    std::vector<std::string> mRoots;
};

// A file manager that pastes: it lists the folder first. The last of several changes in one read of a watcher is passed
// over, by decision, so a paste that nobody was told of is made again.
inline bool pasteUntilReported(const ReportedLandings& landings, const std::wstring& placeholder,
                               const std::wstring& folder, const std::wstring& name)
{
    const std::string root = sd::clip::WideToUtf8(folder);
    const std::size_t before = landings.count(root);
    const std::wstring target = folder + L"\\" + name;
    for (int attempt = 0; attempt < 8; ++attempt) {
        listNames(folder);
        Sleep(20);  // mostly enough for a watcher to have read what came before
        if (!CopyFileW(placeholder.c_str(), target.c_str(), FALSE))
            return false;
        if (landings.waitFor(root, before + 1, 6000))
            return true;
        DeleteFileW(target.c_str());
    }
    return false;
}

class WatchingHost {
public:
    static WatchingHost& shared()
    {
        static auto& host = *new WatchingHost;
        return host;
    }

    sd::clip::FileClipboardLazyRenderer& renderer()
    {
        return mRenderer;
    }

    // Makes a placeholder and gives the watcher the time to see it, which it may not: see pasteUntilReported.
    // @param name of the guest's file
    bool prepare(const std::string& cacheDirectory, const std::string& name,
                 sd::clip::FileLazyRenderingCallback callback)
    {
        mRenderer.Init(cacheDirectory);
        mRecord = makeGuestRecord({name}, std::move(callback));
        if (!mRenderer.PrepareFileLazyRendering(mRecord))
            return false;
        RecordingLog::waitForLine(5, "Sparce file " + name + "." + suffix(), 1000);
        return true;
    }

    std::string suffix() const
    {
        return sd::clip::TestAccess::suffix(mRenderer);
    }
    std::shared_ptr<sd::clip::ClipboardFileDataEx> record() const
    {
        return mRecord;
    }

    // Whether each drive has told of a file.
    bool watches() const
    {
        return mWatches;
    }

private:
    // Ready when each drive has told of a file.
    WatchingHost()
    {
        mRenderer.Init("C:\\no\\such\\cache\\");
        ReportedLandings landings;
        sd::clip::TestAccess::arm(mRenderer, makeGuestRecord({"probe"}, landings.callback()),
                                  std::to_string(GetCurrentProcessId()));
        for (const std::wstring drive : {L"C:", L"D:"}) {
            const std::wstring name = L"probe." + std::to_wstring(GetCurrentProcessId());
            const std::wstring source = drive + L"\\origin-" + std::to_wstring(GetCurrentProcessId());
            CloseHandle(CreateFileW(source.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
            mWatches = pasteUntilReported(landings, source, drive, name) && mWatches;
            DeleteFileW(source.c_str());
        }
        sd::clip::TestAccess::arm(mRenderer, nullptr, "");
    }

    sd::clip::FileClipboardLazyRenderer mRenderer;
    std::shared_ptr<sd::clip::ClipboardFileDataExImpl> mRecord;
    bool mWatches = true;
};
