// Global memory, which data travels in through the clipboard and in a STGMEDIUM.
#pragma once

#include <windows.h>

#include <objidl.h>

#include <cstddef>
#include <utility>

namespace sd::clip {

// Frees its block, if any, with itself, unless the block was given away.
//
// Threads: one at a time.
class OwnedBlock {
public:
    // @param block what GlobalAlloc gave; null for none
    explicit OwnedBlock(HGLOBAL block) : mBlock(block) {}
    OwnedBlock(OwnedBlock&& other) noexcept : mBlock(other.Release()) {}
    OwnedBlock(const OwnedBlock&) = delete;
    OwnedBlock& operator=(const OwnedBlock&) = delete;
    OwnedBlock& operator=(OwnedBlock&&) = delete;
    ~OwnedBlock();

    HGLOBAL Get() const
    {
        return mBlock;
    }

    // The block, which the caller frees.
    HGLOBAL Release()
    {
        return std::exchange(mBlock, nullptr);
    }

    // Frees now, where an order is fixed. The platform is asked without a block too.
    void Free();

    // The receiver of the medium frees the block.
    void GiveTo(STGMEDIUM& medium);

    // To the clipboard that this thread has open and has emptied.
    // @return whether the clipboard took the block; otherwise it stays here
    bool GiveToClipboard(UINT format);

private:
    HGLOBAL mBlock;
};

inline bool operator==(const OwnedBlock& block, std::nullptr_t)
{
    return block.Get() == nullptr;
}

}  // namespace sd::clip
