#include "support/global_lock.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

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

// Pages of which the second faults at any touch. The text ends where the first does.
class TextBeforeAGuardPage {
public:
    explicit TextBeforeAGuardPage(const std::wstring& text)
    {
        constexpr SIZE_T kPage = 4096;
        mPages =
            static_cast<unsigned char*>(VirtualAlloc(nullptr, 2 * kPage, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
        DWORD before = 0;
        EXPECT_TRUE(VirtualProtect(mPages + kPage, kPage, PAGE_NOACCESS, &before));
        mText = mPages + kPage - text.size() * sizeof(wchar_t);
        std::memcpy(mText, text.data(), text.size() * sizeof(wchar_t));
    }
    ~TextBeforeAGuardPage()
    {
        VirtualFree(mPages, 0, MEM_RELEASE);
    }
    TextBeforeAGuardPage(const TextBeforeAGuardPage&) = delete;
    TextBeforeAGuardPage& operator=(const TextBeforeAGuardPage&) = delete;

    void* text() const
    {
        return mText;
    }

private:
    unsigned char* mPages = nullptr;
    unsigned char* mText = nullptr;
};

void* gLocked = nullptr;  // what a block is said to be at

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
    // A read of one character more ends the process, and does not depend on what lies behind the block.
    const TextBeforeAGuardPage text(L"abcdefgh");
    gLocked = text.text();
    const ImportHook<decltype(&GlobalLock)> lock(
        nullptr, "GlobalLock", +[](HGLOBAL) -> LPVOID { return gLocked; });
    const ImportHook<decltype(&GlobalUnlock)> unlock(
        nullptr, "GlobalUnlock", +[](HGLOBAL) -> BOOL { return TRUE; });
    const ImportHook<decltype(&GlobalSize)> size(
        nullptr, "GlobalSize", +[](HGLOBAL) -> SIZE_T { return 16; });
    EXPECT_EQ(GlobalLockScope(nullptr).textUpToTerminator(), L"abcdefgh");
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
