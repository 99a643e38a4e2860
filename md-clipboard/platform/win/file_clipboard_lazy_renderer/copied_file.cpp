#include "file_clipboard_lazy_renderer/copied_file.h"

#include <windows.h>

#include "base/log.h"
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

bool matchCopiedFile(const std::function<bool(const std::string& path)>& isSought)
{
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
    const bool matches = count == 1 && isSought(WideToUtf8(list.ReadPath(0).c_str()));
    list.Unlock();
    clipboard.Close();
    return matches;
}

}  // namespace sd::clip
