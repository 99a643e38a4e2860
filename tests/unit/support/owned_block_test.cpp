#include "support/owned_block.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "support/import_hook.h"

using sd::clip::OwnedBlock;

namespace {

std::vector<HGLOBAL> gFreed;
HGLOBAL gTaken = nullptr;
bool gTakes = true;

// Blocks that are freed are noted, and not freed; the clipboard's answer is the test's.
class OwnedBlockTest : public testing::Test {
protected:
    OwnedBlockTest()
    {
        gFreed.clear();
        gTaken = nullptr;
        gTakes = true;
    }

    static inline const HGLOBAL kBlock = reinterpret_cast<HGLOBAL>(0x7FFF1000);

private:
    const ImportHook<decltype(&GlobalFree)> mFree{nullptr, "GlobalFree", +[](HGLOBAL block) -> HGLOBAL {
                                                      gFreed.push_back(block);
                                                      return nullptr;
                                                  }};
    const ImportHook<decltype(&SetClipboardData)> mSet{nullptr, "SetClipboardData",
                                                       +[](UINT format, HANDLE block) -> HANDLE {
                                                           EXPECT_EQ(format, UINT{CF_HDROP});
                                                           gTaken = block;
                                                           return gTakes ? block : nullptr;
                                                       }};
};

const std::vector<HGLOBAL> kNothing;

}  // namespace

TEST_F(OwnedBlockTest, FreesItsBlockOnceAtItsEnd)
{
    {
        const OwnedBlock block(kBlock);
        EXPECT_EQ(block.Get(), kBlock);
        EXPECT_FALSE(block == nullptr);
    }
    EXPECT_EQ(gFreed, std::vector<HGLOBAL>{kBlock});
}

TEST_F(OwnedBlockTest, WithoutABlockFreesNothing)
{
    {
        const OwnedBlock block(nullptr);
        EXPECT_TRUE(block == nullptr);
    }
    EXPECT_EQ(gFreed, kNothing);
}

TEST_F(OwnedBlockTest, FreeFreesNowAndNotAgain)
{
    {
        OwnedBlock block(kBlock);
        block.Free();
        EXPECT_EQ(gFreed, std::vector<HGLOBAL>{kBlock});
        EXPECT_TRUE(block == nullptr);
    }
    EXPECT_EQ(gFreed, std::vector<HGLOBAL>{kBlock});
}

TEST_F(OwnedBlockTest, FreeWithoutABlockAsksThePlatform)
{
    OwnedBlock(nullptr).Free();
    EXPECT_EQ(gFreed, std::vector<HGLOBAL>{nullptr});
}

TEST_F(OwnedBlockTest, AReleasedBlockIsTheCallers)
{
    EXPECT_EQ(OwnedBlock(kBlock).Release(), kBlock);
    EXPECT_EQ(gFreed, kNothing);
}

TEST_F(OwnedBlockTest, AMovedBlockHasOneOwner)
{
    {
        OwnedBlock first(kBlock);
        const OwnedBlock second(std::move(first));
        EXPECT_EQ(second.Get(), kBlock);
    }
    EXPECT_EQ(gFreed, std::vector<HGLOBAL>{kBlock});
}

TEST_F(OwnedBlockTest, ABlockInAMediumIsItsReceivers)
{
    STGMEDIUM medium = {};
    OwnedBlock(kBlock).GiveTo(medium);
    EXPECT_EQ(medium.hGlobal, kBlock);
    EXPECT_EQ(medium.tymed, static_cast<DWORD>(TYMED_HGLOBAL));
    EXPECT_EQ(gFreed, kNothing);
}

TEST_F(OwnedBlockTest, ABlockThatTheClipboardTookIsTheClipboards)
{
    EXPECT_TRUE(OwnedBlock(kBlock).GiveToClipboard(CF_HDROP));
    EXPECT_EQ(gTaken, kBlock);
    EXPECT_EQ(gFreed, kNothing);
}

TEST_F(OwnedBlockTest, ABlockThatTheClipboardRefusedIsFreed)
{
    gTakes = false;
    {
        OwnedBlock block(kBlock);
        EXPECT_FALSE(block.GiveToClipboard(CF_HDROP));
        EXPECT_EQ(block.Get(), kBlock);
        EXPECT_EQ(gFreed, kNothing);
    }
    EXPECT_EQ(gFreed, std::vector<HGLOBAL>{kBlock});
}
