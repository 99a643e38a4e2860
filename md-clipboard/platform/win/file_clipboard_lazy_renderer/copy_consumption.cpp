// Whether a clipboard change is the library's own.
#include <windows.h>

#include <shellapi.h>

#include <algorithm>

#include "file_clipboard_lazy_renderer/file_clipboard_lazy_renderer.h"
#include "file_clipboard_lazy_renderer/placeholder_name.h"
#include "file_utilities/encoding.h"
#include "log.h"
#include "support/opened_clipboard.h"

namespace sd::clip {

namespace {

constexpr DWORD kOpenTimeout = 1000;  // milliseconds
constexpr DWORD kOpenPause = 100;     // milliseconds
constexpr UINT kAllFiles = 0xFFFFFFFF;

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

// Whole, however long it is.
std::string readOnlyPath(HDROP drop)
{
    const UINT length = DragQueryFileW(drop, 0, nullptr, MAX_PATH);
    std::wstring path(std::max<std::size_t>(std::size_t{length} + 1, MAX_PATH), L'\0');
    DragQueryFileW(drop, 0, path.data(), length + 1);
    return WideToUtf8(path.c_str());
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
    if (GlobalLock(block) == nullptr) {
        clipboard.Close();
        CLIP_LOG(kLogError, "GlobalLock error!");
        return false;
    }
    const auto drop = static_cast<HDROP>(block);
    const UINT count = DragQueryFileW(drop, kAllFiles, nullptr, 0);
    if (count == 0) {
        clipboard.Close();
        CLIP_LOG(kLogError, "Invalid copy files!");
        return false;  // decision: the block stays locked
    }
    const bool isOwn = count == 1 && liesInOwnCache(readOnlyPath(drop));
    GlobalUnlock(block);
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
