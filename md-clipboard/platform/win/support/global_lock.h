// A locked block of global memory for one scope.
#pragma once

#include <windows.h>

#include <string>

namespace sd::clip {

class GlobalLockScope {
public:
    explicit GlobalLockScope(HGLOBAL handle);
    ~GlobalLockScope();
    GlobalLockScope(const GlobalLockScope&) = delete;
    GlobalLockScope& operator=(const GlobalLockScope&) = delete;

    // Null if the block could not be locked.
    void* data() const
    {
        return mData;
    }

    // Unlocks now, where an order is fixed. Only for a block that is locked.
    void Unlock();

    // The block is not unlocked at the end.
    void StayLocked()
    {
        mData = nullptr;
    }

    // The block as wide text, up to its terminator or, where it has none, to its end.
    std::wstring textUpToTerminator() const;

private:
    const HGLOBAL mHandle;
    void* mData;
};

}  // namespace sd::clip
