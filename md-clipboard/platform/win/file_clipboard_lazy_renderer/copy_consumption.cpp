// Whether a clipboard change is the library's own.
#include <windows.h>

#include "base/log.h"
#include "file_clipboard_lazy_renderer/file_clipboard_lazy_renderer.h"
#include "file_clipboard_lazy_renderer/placeholder_name.h"
#include "file_utilities/encoding.h"
#include "support/drop_list.h"
#include "support/opened_clipboard.h"

namespace sd::clip {

namespace {

constexpr DWORD kOpenTimeout = 1000;  // milliseconds
constexpr DWORD kOpenPause = 100;     // milliseconds

// Waits for a program that holds the clipboard. Decision: whether the clipboard was opened shows when it is read, and
// it is closed in any case.
void openPatiently(OpenedClipboard& clipboard)
{
    if (clipboard.Open())
        return;
    DWORD error = GetLastError();
    for (DWORD waited = 0; error == ERROR_ACCESS_DENIED && waited < kOpenTimeout; waited += kOpenPause) {
        Sleep(kOpenPause);
        if (clipboard.Open())
            return;
        error = GetLastError();
        CLIP_LOG(kLogError, "Open clipboard fail. error:%d", static_cast<int>(error));
    }
}

}  // namespace

// The flag answers for one change. Later ones that still show the placeholder are known by its folder; a list of
// several files is never our own.
bool FileClipboardLazyRenderer::ConsumeCopy()
{
    const bool pending = mPendingOwnCopy.exchange(false);
    CLIP_LOG(kLogInfo, "Consume file lazy renderer copy %d", pending ? 1 : 0);
    if (pending)
        return true;
    OpenedClipboard clipboard;
    openPatiently(clipboard);
    const HANDLE block = GetClipboardData(CF_HDROP);
    if (block == nullptr) {
        clipboard.Close();
        CLIP_LOG(kLogError, "Get clipboard data failed! error code %d", static_cast<int>(GetLastError()));
        return false;
    }
    DropList list(block);
    if (!list.IsLocked()) {
        clipboard.Close();
        CLIP_LOG(kLogError, "GlobalLock error!");
        return false;
    }
    const UINT count = list.CountFiles();
    if (count == 0) {
        list.StayLocked();  // decision: for ever
        clipboard.Close();
        CLIP_LOG(kLogError, "Invalid copy files!");
        return false;
    }
    const bool isOwn = count == 1 && liesInOwnCache(WideToUtf8(list.ReadPath(0).c_str()));
    list.Unlock();
    clipboard.Close();
    return isOwn;
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
