#include "data_object/slice_path.h"

#include <gtest/gtest.h>

using namespace sd::clip;

TEST(SlicePath, IsTheDigestOfTheKeyAPointAndTheIndex)
{
    EXPECT_EQ(MakeSlicePath("C:/cache/", "abc", 0), "C:/cache/900150983cd24fb0d6963f7d28e17f72.0");
    EXPECT_EQ(MakeSlicePath("C:/cache/", "abc", 12), "C:/cache/900150983cd24fb0d6963f7d28e17f72.12");
    EXPECT_EQ(MakeSlicePath("", "", 2147483647), "d41d8cd98f00b204e9800998ecf8427e.2147483647");
}

TEST(SlicePath, NothingIsPutBetweenDirectoryAndName)
{
    EXPECT_EQ(MakeSlicePath("C:/cache", "abc", 0), "C:/cache900150983cd24fb0d6963f7d28e17f72.0");
}

TEST(SlicePath, OnlyTheNameIsFreedOfSlashes)
{
    // The key's own slashes are gone in its digest, and the directory keeps those it has.
    EXPECT_EQ(MakeSlicePath("/a/b/", "../../x/y", 3), "/a/b/bb63f2383422cb7704a3ee2964d9a044.3");
}

TEST(SlicePath, EveryByteOfTheKeyCounts)
{
    EXPECT_EQ(MakeSlicePath("", std::string("a\0b", 3), 0), "70350f6027bce3713f6b76473084309b.0");
    EXPECT_NE(MakeSlicePath("", std::string("abc\0", 4), 0), MakeSlicePath("", "abc", 0));
}

TEST(SlicePath, ANameLikeASlicesTellsItsDigest)
{
    EXPECT_EQ(ParseSliceName(L"900150983cd24fb0d6963f7d28e17f72.0"), DigestOfKey("abc"));
    EXPECT_EQ(ParseSliceName(L"900150983cd24fb0d6963f7d28e17f72.2147483647"), DigestOfKey("abc"));
    EXPECT_NE(DigestOfKey("abc"), DigestOfKey("abd"));
    EXPECT_EQ(DigestOfKey("abc"), (SliceDigest{0x900150983cd24fb0, 0xd6963f7d28e17f72}));
}

// The platform keeps the letter case that a file had before it was written anew.
TEST(SlicePath, ItsDigestMayHaveCapitalLetters)
{
    EXPECT_EQ(ParseSliceName(L"900150983CD24FB0D6963F7D28E17F72.3"), DigestOfKey("abc"));
}

TEST(SlicePath, NoOtherNameIsLikeASlices)
{
    for (const wchar_t* const name :
         {L"", L"a.txt.12345678", L"900150983cd24fb0d6963f7d28e17f72", L"900150983cd24fb0d6963f7d28e17f72.",
          L"900150983cd24fb0d6963f7d28e17f72.a", L"900150983cd24fb0d6963f7d28e17f72.1.2",
          L"900150983cd24fb0d6963f7d28e17f7.10", L"900150983cd24fb0d6963f7d28e17f7200.0",
          L"g00150983cd24fb0d6963f7d28e17f72.0", L"900150983cd24fb0d6963f7d28e17f72x0"})
        EXPECT_FALSE(ParseSliceName(name)) << name;
}
