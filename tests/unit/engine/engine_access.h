// How the engine's tests reach what it keeps private.
#pragma once

#include <future>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "clipboard_win/clipboard_impl.h"
#include "workthread/remote_format_file.h"

namespace sd::clip {

class TestAccess {
public:
    // An engine of a test's own. Engines are never destroyed.
    static ClipboardImpl& makeEngine()
    {
        return *new ClipboardImpl;
    }

    template <class File>
    static auto& sliceReader(File& file)
    {
        return file.mSliceReader;
    }
    template <class File>
    static auto& readSliceIndex(File& file)
    {
        return file.mReadSliceIndex;
    }

    static void detectCopy(ClipboardImpl& engine)
    {
        engine.onDetectCopy(nullptr, 0, 0);
    }
    static HWND initInstance(ClipboardImpl& engine)
    {
        return engine.InitInstance(nullptr);
    }
    static HWND window(const ClipboardImpl& engine)
    {
        return engine.mWindow.mHwnd;
    }
    static bool opened(const ClipboardImpl& engine)
    {
        return engine.mGuard.mClipboardOpened;
    }
    static std::shared_ptr<ClipboardData> clipData(const ClipboardImpl& engine)
    {
        return engine.mClipData;
    }
    static std::shared_ptr<ClipboardListener> listener(const ClipboardImpl& engine)
    {
        return engine.mListener;
    }
    static bool supported(const ClipboardImpl& engine)
    {
        return engine.mFileClipboardSupported;
    }
    static ClipDataObject* notedObject(const ClipboardImpl& engine)
    {
        return engine.mNoted.mClipDataObject;
    }
    static void noteObject(ClipboardImpl& engine, ClipDataObject* object)
    {
        engine.mNoted.mClipDataObject = object;
    }
    static std::map<ClipboardFormat, UINT>& formatMap(ClipboardImpl& engine)
    {
        return engine.mFormats.mFormatMap;
    }
    static FileClipboardLazyRenderer& renderer(ClipboardImpl& engine)
    {
        return engine.mFileLazyRenderer;
    }
    // As after a preparation whose own write was not yet seen.
    static void setPendingOwnCopy(ClipboardImpl& engine)
    {
        engine.mFileLazyRenderer.mPendingOwnCopy = true;
    }
    static std::string placeholderDirectory(const ClipboardImpl& engine)
    {
        return engine.mFileLazyRenderer.cacheDirectory();
    }
    static ClipboardFormat formatFromPlatform(ClipboardImpl& engine, UINT platformFormat)
    {
        return engine.clipFormatFromPlatform(platformFormat);
    }
    static std::shared_ptr<std::vector<std::string>> filesFromClipboard(ClipboardImpl& engine)
    {
        return engine.GetFilesFromClipboard();
    }

    // The worker tells it itself.
    static std::thread::id workerThread(ClipboardImpl& engine)
    {
        const auto told = std::make_shared<std::promise<std::thread::id>>();
        auto id = told->get_future();
        engine.mDetectThread.PostLatest([told] { told->set_value(std::this_thread::get_id()); });
        return id.get();
    }

    static void setLongestInstall(ClipboardImpl& engine, std::chrono::seconds longest)
    {
        engine.mWorkThread.mLongestWait = longest;
    }

    // Of the job that waits for the work thread.
    static std::promise<FuncExecStatus>& waitingPromise(RemoteFormatFile& file)
    {
        return *file._userMsgSetOle.mJob.promise;
    }

    static std::chrono::seconds longestInstall(const ClipboardImpl& engine)
    {
        return engine.mWorkThread.mLongestWait;
    }

    static std::vector<const void*> members(const ClipboardImpl& engine)
    {
        return {&engine.mListener,
                &engine.mWindow.mHwnd,
                &engine.mGuard.mClipboardOpened,
                &engine.mDetectThread,
                &engine.mFormats.mFormatMap,
                &engine.mClipData,
                &engine.mNoted.mClipDataObject,
                &engine.mFileClipboardSupported,
                &engine.mFileLazyRenderer,
                &engine.mStateMutex};
    }
};

}  // namespace sd::clip
