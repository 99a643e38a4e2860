#pragma once

#include <windows.h>

namespace sd::clip {

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
