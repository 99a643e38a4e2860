#include "file_clipboard_lazy_renderer/cache_cleaning.h"

#include <windows.h>

#include "base/log.h"
#include "file_clipboard_lazy_renderer/placeholder_name.h"
#include "file_utilities/encoding.h"
#include "support/search_handle.h"

namespace sd::clip {

namespace {

// What could not be opened, in the words of a failed first find.
bool failToOpenDirectory(DWORD error)
{
    CLIP_LOG(kLogFatal, "Failed to get the first file in the directory. Error: %d", static_cast<int>(error));
    return false;
}

// As the platform resolves it: `C:\cache\..` is a root too.
std::wstring makeFullPath(const std::wstring& path)
{
    const DWORD size = GetFullPathNameW(path.c_str(), 0, nullptr, nullptr);
    std::wstring full(size, L'\0');
    const DWORD length = size != 0 ? GetFullPathNameW(path.c_str(), size, full.data(), nullptr) : 0;
    full.resize(length < size ? length : 0);
    return full;
}

}  // namespace

bool cleanDirectory(const std::wstring& directory, const std::function<bool(const wchar_t* name)>& isSpared)
{
    if (isEmptyOrRoot(directory) || isEmptyOrRoot(makeFullPath(directory)))
        return failToOpenDirectory(ERROR_INVALID_NAME);
    WIN32_FIND_DATAW entry;
    const SearchHandle search(FindFirstFileW((directory + L"\\*").c_str(), &entry));
    if (!search.IsValid())
        return failToOpenDirectory(GetLastError());
    do {
        if (IsDotEntry(entry.cFileName) || (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0)
            continue;
        if (isSpared(entry.cFileName))
            continue;
        const std::wstring path = directory + L"\\" + entry.cFileName;
        if (!DeleteFileW(path.c_str())) {
            const DWORD error = GetLastError();
            CLIP_LOG(kLogFatal, "Failed to delete file: %s, Error: %d", WideToUtf8(path).c_str(),
                     static_cast<int>(error));
        }
    } while (FindNextFileW(search.Get(), &entry));
    const DWORD error = GetLastError();
    if (error != ERROR_NO_MORE_FILES)
        CLIP_LOG(kLogFatal, "FindNextFile encountered an error. Error: %d", static_cast<int>(error));
    return true;
}

}  // namespace sd::clip
