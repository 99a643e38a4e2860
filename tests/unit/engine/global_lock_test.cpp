#include "clipboard_win/global_lock.h"

#include <gtest/gtest.h>

#include <cstring>

#include "support/import_hook.h"

using sd::clip::GlobalLockScope;

namespace {

HGLOBAL makeBlock(const void* data, std::size_t size)
{
    const HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE, size);
    std::memcpy(GlobalLock(block), data, size);
    GlobalUnlock(block);
    return block;
}

UINT lockCount(HGLOBAL block)
{
    return GlobalFlags(block) & GMEM_LOCKCOUNT;
}

}  // namespace

TEST(GlobalLockScope, TheBlockIsLockedForTheScope)
{
    const HGLOBAL block = makeBlock(L"ab", 6);
    {
        const GlobalLockScope lock(block);
        EXPECT_NE(lock.data(), nullptr);
        EXPECT_EQ(lockCount(block), 1u);
    }
    EXPECT_EQ(lockCount(block), 0u);
    GlobalFree(block);
}

TEST(GlobalLockScope, ANullHandleGivesNoData)
{
    EXPECT_EQ(GlobalLockScope(nullptr).data(), nullptr);
}

TEST(GlobalLockScope, TextEndsAtItsTerminator)
{
    const HGLOBAL block = makeBlock(L"ab\0cd", 12);
    EXPECT_EQ(GlobalLockScope(block).textUpToTerminator(), L"ab");
    GlobalFree(block);
}

TEST(GlobalLockScope, TextWithoutATerminatorEndsWithItsBlock)
{
    const HGLOBAL block = makeBlock(L"abcdefgh", 16);
    EXPECT_EQ(GlobalLockScope(block).textUpToTerminator(), L"abcdefgh");
    GlobalFree(block);
}

TEST(GlobalLockScope, TextIsBoundedByWhatTheSystemSaysOfItsBlock)
{
    const HGLOBAL block = makeBlock(L"abcdefg", 16);  // so that nothing behind the block can end the text
    const ImportHook<decltype(&GlobalSize)> hook(
        nullptr, "GlobalSize", +[](HGLOBAL) -> SIZE_T { return 3 * sizeof(wchar_t); });
    EXPECT_EQ(GlobalLockScope(block).textUpToTerminator(), L"abc");
    GlobalFree(block);
}

TEST(GlobalLockScope, AnOddByteAtTheEndIsNotRead)
{
    const HGLOBAL block = makeBlock("a\0b\0c", 5);
    const std::wstring text = GlobalLockScope(block).textUpToTerminator();
    EXPECT_EQ(text, L"ab");
    GlobalFree(block);
}
