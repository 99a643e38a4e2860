// The engine: the one object behind Clipboard::Get.
// Its parts have files of their own in this folder; it says in which order they are used.
#pragma once

#include <windows.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "base/annotated_mutex.h"
#include "clipboard_win/clipboard_guard.h"
#include "clipboard_win/format_map.h"
#include "clipboard_win/hidden_window.h"
#include "clipboard_win/latest_task_thread.h"
#include "clipboard_win/noted_data_object.h"
#include "clipboard_win/ole_clipboard.h"
#include "clipboard_win/work_thread_caller.h"
#include "file_clipboard_lazy_renderer/file_clipboard_lazy_renderer.h"
#include "sd/clip/clipboard.h"
#include "support/clipboard_engine.h"

namespace sd::clip {

class ClipDataObject;
class FileRequest;
class PendingObject;

// Threads: any, at once. No lock is held during a call to the host. Made once and never destroyed: detached threads
// use it until the process ends.
class ClipboardImpl : public Clipboard, public ClipboardEngine {
public:
    ClipboardImpl();
    ~ClipboardImpl() = delete;

    // The one engine, made at the first call; null where the system had no memory or thread for it.
    static std::shared_ptr<ClipboardImpl> instance();

    // A copy of the directory that InitFileLazyRenderer was given; empty before. The directory is the process's, not
    // the engine's: slices and placeholders both lie there.
    static std::string GetCacheDirectory();

    // Clipboard:
    bool Init() override;
    bool UnInit() override;
    bool Open() override;
    bool Close() override;
    void SetFileClipboardSupported(bool supported) override;
    std::shared_ptr<Clipboard> SetListener(std::shared_ptr<ClipboardListener> listener) override;
    std::shared_ptr<ClipboardData> GetClipboardData(ClipboardFormat format) override;
    std::vector<ClipboardFormat> GetAvailableFormats() override;
    bool IsFormatAvailable(ClipboardFormat format) override;
    bool SetClipboardData(ClipboardFormat format, std::shared_ptr<ClipboardData> data) override;
    bool InitFileLazyRenderer(std::string cacheDirectory) override;
    void NotifyFileTransferFailed(std::uint32_t fail) override;
    void NotifyFileLazyRenderingComplete(std::int32_t result) override;
    void SetSupportFileClipboardFullPostProcessMode(bool supported) override;

    // ClipboardEngine:
    void notifyClipboardEvent(std::string operation, std::string stage, std::string dataType, std::int64_t number,
                              std::string message, std::string result, std::string errorCode,
                              std::string errorDetail) override CLIP_EXCLUDES(mStateMutex);
    std::string cacheDirectory() const override;
    void resetOleclipboardOf(const FileRequest& request) override;
    void resetClipCObjectData(ClipDataObject* object) override;

    // Has the worker look at the clipboard, if the message is a clipboard update; returns at once. Lets no exception
    // out, since its callers are a window procedure and a thread.
    void onMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

    // Like resetOleclipboardOf, with the list that was installed last.
    void resetOleclipboard();

private:
    friend class TestAccess;

    HWND InitInstance(HINSTANCE module);
    void syncClipboardDataToClient();

    void onDetectCopy(HWND window, unsigned long long wParam, long long lParam);
    ClipboardFormat clipFormatFromPlatform(UINT platformFormat);

    std::shared_ptr<ClipboardData> readText();
    std::shared_ptr<ClipboardData> readFiles();
    std::shared_ptr<std::vector<std::string>> GetFilesFromClipboard();

    bool setFileList(std::shared_ptr<ClipboardData> data, std::int64_t fileCount);
    void setCurrentOleDataObject(PendingObject& pending);
    // Null empties the OLE clipboard. One reference of the caller's to the object goes over to this call, whatever
    // comes of it.
    bool setOleDataObject(ClipDataObject* object);

    std::shared_ptr<ClipboardListener> listener() const;
    void keepClipData(std::shared_ptr<ClipboardData> data);

    std::shared_ptr<ClipboardListener> mListener CLIP_GUARDED_BY(mStateMutex);
    HiddenWindow mWindow CLIP_UNGUARDED("safe by itself");
    ClipboardGuard mGuard CLIP_UNGUARDED("safe by itself"){this};
    LatestTaskThread mDetectThread CLIP_UNGUARDED("safe by itself");
    FormatMap mFormats CLIP_UNGUARDED("safe by itself");
    std::shared_ptr<ClipboardData> mClipData CLIP_GUARDED_BY(mStateMutex);  // the record now being exchanged
    NotedDataObject mNoted CLIP_UNGUARDED("safe by itself");
    std::atomic<bool> mFileClipboardSupported{false};
    FileClipboardLazyRenderer mFileLazyRenderer CLIP_UNGUARDED("safe by itself");

    mutable Mutex mStateMutex;  // a leaf: nothing is called under it

    OleClipboard mOleClipboard CLIP_UNGUARDED("safe by itself");
    WorkThreadCaller mWorkThread CLIP_UNGUARDED("safe by itself");
};

}  // namespace sd::clip
