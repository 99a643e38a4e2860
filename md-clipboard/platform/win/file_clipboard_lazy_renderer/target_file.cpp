#include "file_clipboard_lazy_renderer/target_file.h"

#include <windows.h>

#include <shlobj.h>

#include <utility>

#include "base/log.h"
#include "file_clipboard_lazy_renderer/placeholder_name.h"
#include "file_utilities/encoding.h"

namespace sd::clip {

namespace {

constexpr int kMostRetries = 5;
constexpr DWORD kRetryPause = 400;  // milliseconds

void tellDesktop(LONG event, const std::wstring& path)
{
    SHChangeNotify(event, SHCNF_PATHW, path.c_str(), nullptr);
}

}  // namespace

TargetFile::TargetFile(std::wstring path) : mPath(std::move(path)) {}

bool TargetFile::Exists() const
{
    if (GetFileAttributesW(mPath.c_str()) != INVALID_FILE_ATTRIBUTES)
        return true;
    const DWORD error = GetLastError();
    return error != ERROR_FILE_NOT_FOUND && error != ERROR_PATH_NOT_FOUND;
}

bool TargetFile::Rename(std::string& newName) const
{
    const std::string shownSource = WideToUtf8(mPath);
    CLIP_LOG(kLogInfo, "Rename from %s", shownSource.c_str());
    CLIP_LOG(kLogInfo, "Rename file to %s", newName.c_str());
    std::wstring target = replaceFileName(mPath, Utf8ToWide(newName));
    while (TargetFile(target).Exists()) {
        CLIP_LOG(kLogInfo, "Rename file already exists %s, append extra suffix", WideToUtf8(target).c_str());
        newName = appendCopySuffix(newName);
        target = replaceFileName(mPath, Utf8ToWide(newName));
    }
    CLIP_LOG(kLogInfo, "Move %s to %s", shownSource.c_str(), WideToUtf8(target).c_str());
    const bool moved = moveTo(target);
    CLIP_LOG(kLogInfo, "File renamed: %d", moved ? 1 : 0);
    if (moved) {
        tellDesktop(SHCNE_DELETE, mPath);
        tellDesktop(SHCNE_CREATE, target);
        tellDesktop(SHCNE_UPDATEDIR, mPath);
        tellDesktop(SHCNE_UPDATEDIR, target);
    }
    return moved;
}

bool TargetFile::moveTo(const std::wstring& target) const
{
    for (int count = 0;; ++count) {
        if (MoveFileExW(mPath.c_str(), target.c_str(), 0))
            return true;
        const DWORD error = GetLastError();
        if (count >= kMostRetries)
            return false;
        CLIP_LOG(kLogInfo, "Move file %s to %s failed, error code %d, wait a while and retry",
                 WideToUtf8(mPath).c_str(), WideToUtf8(target).c_str(), static_cast<int>(error));
        Sleep(kRetryPause);
    }
}

// The words "failed" and "success" say nothing about the lazy rendering, which has not begun; they stay.
void TargetFile::Remove() const
{
    int count = 0;
    DWORD error = ERROR_SUCCESS;
    while (!DeleteFileW(mPath.c_str())) {
        error = GetLastError();
        if (count >= kMostRetries)
            break;
        CLIP_LOG(kLogError, "Failed to remove target file after lazy rendering failed due to %d",
                 static_cast<int>(error));
        Sleep(kRetryPause);
        ++count;
    }
    // Decision: the count is tested and not the outcome, so a last attempt that succeeds is reported like a failure.
    if (count == kMostRetries) {
        CLIP_LOG(kLogInfo, "Failed to remove target file after retry %d times, last error %d", count,
                 static_cast<int>(error));
        return;
    }
    CLIP_LOG(kLogInfo, "Remove target file due to lazy rendering success");
    tellDesktop(SHCNE_DELETE, mPath);
    tellDesktop(SHCNE_UPDATEDIR, mPath);
}

}  // namespace sd::clip
