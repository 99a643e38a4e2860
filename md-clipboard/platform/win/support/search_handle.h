// The listing of a directory.
#pragma once

#include <windows.h>

#include <cwchar>

namespace sd::clip {

// Whether a listed entry is the directory itself or the one above.
inline bool IsDotEntry(const wchar_t* name)
{
    return std::wcscmp(name, L".") == 0 || std::wcscmp(name, L"..") == 0;
}

// Owns what FindFirstFileW gave, which may be the failure.
class SearchHandle {
public:
    explicit SearchHandle(HANDLE handle) : mHandle(handle) {}
    SearchHandle(const SearchHandle&) = delete;
    SearchHandle& operator=(const SearchHandle&) = delete;

    ~SearchHandle()
    {
        if (IsValid())
            FindClose(mHandle);
    }

    bool IsValid() const
    {
        return mHandle != INVALID_HANDLE_VALUE;
    }

    HANDLE Get() const
    {
        return mHandle;
    }

private:
    const HANDLE mHandle;
};

}  // namespace sd::clip
