// A locked block of global memory for one scope.
#pragma once

#include <windows.h>

#include <string>

namespace sd::clip {

class GlobalLockScope {
public:
    explicit GlobalLockScope(HGLOBAL handle) : mHandle(handle), mData(GlobalLock(handle)) {}
    ~GlobalLockScope()
    {
        if (mData != nullptr)
            GlobalUnlock(mHandle);
    }
    GlobalLockScope(const GlobalLockScope&) = delete;
    GlobalLockScope& operator=(const GlobalLockScope&) = delete;

    // Null if the block could not be locked.
    void* data() const
    {
        return mData;
    }

    // The block as wide text, up to its terminator or, where it has none, to its end.
    std::wstring textUpToTerminator() const
    {
        const auto* text = static_cast<const wchar_t*>(mData);
        const std::size_t most = GlobalSize(mHandle) / sizeof(wchar_t);
        std::size_t length = 0;
        while (length < most && text[length] != L'\0')
            ++length;
        return std::wstring(text, length);
    }

private:
    const HGLOBAL mHandle;
    void* const mData;
};

}  // namespace sd::clip
