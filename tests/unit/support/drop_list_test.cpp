#include "support/drop_list.h"

#include <gtest/gtest.h>
#include <shlobj.h>

#include <algorithm>
#include <cstring>
#include <string>

#include "support/import_hook.h"

using sd::clip::DropList;

namespace {

// A block as the clipboard gives it, of the test's own.
class Block {
public:
    // @param paths each with its terminator, and one more
    explicit Block(const std::wstring& paths)
    {
        DROPFILES header = {};
        header.pFiles = sizeof header;
        header.fWide = TRUE;
        auto* const data = static_cast<unsigned char*>(GlobalLock(mBlock));
        std::memcpy(data, &header, sizeof header);
        std::copy(paths.begin(), paths.end(), reinterpret_cast<wchar_t*>(data + sizeof header));
        GlobalUnlock(mBlock);
    }
    ~Block()
    {
        GlobalFree(mBlock);
    }
    Block(const Block&) = delete;
    Block& operator=(const Block&) = delete;

    HGLOBAL get() const
    {
        return mBlock;
    }
    UINT lockCount() const
    {
        return GlobalFlags(mBlock) & GMEM_LOCKCOUNT;
    }

private:
    const HGLOBAL mBlock = GlobalAlloc(GHND, 16384);
};

const std::wstring kTwoPaths(L"C:\\a\0D:\\b c\0\0", 13);

}  // namespace

TEST(DropList, GivesItsPathsWithTheirTerminators)
{
    const Block block(kTwoPaths);
    const DropList list(block.get());
    ASSERT_TRUE(list.IsLocked());
    EXPECT_EQ(list.CountFiles(), 2u);
    EXPECT_EQ(list.ReadPath(0), std::wstring(L"C:\\a\0", 5));
    EXPECT_EQ(list.ReadPath(1), std::wstring(L"D:\\b c\0", 7));
}

TEST(DropList, GivesAPathOfAnyLengthWhole)
{
    for (const std::size_t length : {1u, 259u, 260u, 261u, 5000u}) {
        const std::wstring path(length, L'x');
        const Block block(path);
        EXPECT_EQ(DropList(block.get()).ReadPath(0), path + std::wstring(1, L'\0'));
    }
}

TEST(DropList, APathThatThePlatformDoesNotGiveIsEmpty)
{
    const Block block(kTwoPaths);
    const DropList list(block.get());
    EXPECT_EQ(list.ReadPath(2), L"");
}

TEST(DropList, TheBlockIsLockedAsLongAsItLives)
{
    const Block block(kTwoPaths);
    {
        const DropList list(block.get());
        EXPECT_EQ(block.lockCount(), 1u);
    }
    EXPECT_EQ(block.lockCount(), 0u);
}

TEST(DropList, UnlockUnlocksNowAndNotAgain)
{
    const Block block(kTwoPaths);
    GlobalLock(block.get());  // somebody else's
    {
        DropList list(block.get());
        EXPECT_EQ(block.lockCount(), 2u);
        list.Unlock();
        EXPECT_EQ(block.lockCount(), 1u);
        EXPECT_FALSE(list.IsLocked());
    }
    EXPECT_EQ(block.lockCount(), 1u);
}

TEST(DropList, ABlockThatIsToStayLockedDoes)
{
    const Block block(kTwoPaths);
    {
        DropList list(block.get());
        list.StayLocked();
    }
    EXPECT_EQ(block.lockCount(), 1u);
}

TEST(DropList, ABlockThatCantBeLockedIsNotUnlocked)
{
    const Block block(kTwoPaths);
    static int unlocks = 0;
    const ImportHook<decltype(&GlobalLock)> lock(
        nullptr, "GlobalLock", +[](HGLOBAL) -> LPVOID { return nullptr; });
    const ImportHook<decltype(&GlobalUnlock)> unlock(
        nullptr, "GlobalUnlock", +[](HGLOBAL) -> BOOL {
            ++unlocks;
            return TRUE;
        });
    {
        const DropList list(block.get());
        EXPECT_FALSE(list.IsLocked());
    }
    EXPECT_EQ(unlocks, 0);
}
