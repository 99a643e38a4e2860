#include "file_clipboard_lazy_renderer/placeholder_file.h"

#include <utility>

#include "base/log.h"
#include "file_utilities/encoding.h"
#include "support/owned_handle.h"

namespace sd::clip {

PlaceholderFile::PlaceholderFile(std::string cacheDir)
    : mCacheDir(std::move(cacheDir)), mWideCacheDir(Utf8ToWide(mCacheDir))
{
}

bool PlaceholderFile::Create(const std::string& name)
{
    const std::wstring wideName = Utf8ToWide(name);
    if (wideName.empty()) {  // its path would be the cache directory, which would be offered as a cut one
        const DWORD error = GetLastError();
        CLIP_LOG(kLogFatal, "Could not create the sparce file(%d): %s", static_cast<int>(error),
                 (mCacheDir + name).c_str());
        return false;
    }
    // No separator between them, on purpose: the host's directory ends in one.
    mPath = mWideCacheDir + wideName;
    return createDirectory() && createEmptyFile();
}

void PlaceholderFile::CloseOnceMore()
{
    if (mFile != nullptr)
        OwnedHandle(mFile).Close();
}

bool PlaceholderFile::createDirectory() const
{
    if (CreateDirectoryW(mWideCacheDir.c_str(), nullptr) || GetLastError() == ERROR_ALREADY_EXISTS)
        return true;
    CLIP_LOG(kLogFatal, "Could not create cache directory(%d): %s", static_cast<int>(GetLastError()),
             mCacheDir.c_str());
    return false;
}

bool PlaceholderFile::createEmptyFile()
{
    OwnedHandle created(
        CreateFileW(mPath.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    mFile = created.Get();
    // Decision: compared with zero and not with INVALID_HANDLE_VALUE. A file that can't be created shows in its close,
    // if at all.
    if (mFile == nullptr) {
        const DWORD error = GetLastError();
        CLIP_LOG(kLogFatal, "Could not create the sparce file(%d): %s", static_cast<int>(error),
                 WideToUtf8(mPath).c_str());
        return false;
    }
    if (!created.Close()) {
        const DWORD error = GetLastError();
        CLIP_LOG(kLogFatal, "Failed to close sparce file(%d): %s", static_cast<int>(error), WideToUtf8(mPath).c_str());
        return false;
    }
    return true;
}

}  // namespace sd::clip
