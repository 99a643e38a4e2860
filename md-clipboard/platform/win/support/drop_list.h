// The files that a clipboard offers as a drop list, the format CF_HDROP.
#pragma once

#include <windows.h>

#include <shellapi.h>

#include <string>

#include "support/global_lock.h"

namespace sd::clip {

// Reads the block of a drop list, which is locked as long as this object lives. The clipboard must stay open meanwhile.
//
// Threads: the one that has the clipboard open.
class DropList {
public:
    // @param block what the clipboard gave for the format; not null
    explicit DropList(HANDLE block) : mDrop(static_cast<HDROP>(block)), mLock(block) {}

    // Whether the block is locked; only then anything else may be called.
    bool IsLocked() const
    {
        return mLock.data() != nullptr;
    }

    // How many files the list has; asks the platform each time.
    UINT CountFiles() const;

    // However long it is, with its terminator counted in its size. Empty if the platform does not give it.
    std::wstring ReadPath(UINT index) const;

    // Unlocks now, where an order is fixed.
    void Unlock()
    {
        mLock.Unlock();
    }

    // The block is not unlocked at the end.
    void StayLocked()
    {
        mLock.StayLocked();
    }

private:
    const HDROP mDrop;
    GlobalLockScope mLock;
};

}  // namespace sd::clip
