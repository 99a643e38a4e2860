#include "file_utilities/path_text.h"

#include <gtest/gtest.h>

#include "file_utilities/file_names.h"

namespace sd::clip {
namespace {

std::string trim(std::string text)
{
    TrimBackslashes(text);
    return text;
}

std::string removeTrailing(std::string text)
{
    RemoveTrailingBackslashes(text);
    return text;
}

ClipfileDescription split(const std::string& fullPath, const std::string& root)
{
    ClipfileDescription description;
    SplitFilePath(description, fullPath, root);
    return description;
}

void expectSplit(const ClipfileDescription& description, const char* root, const char* relativePath,
                 const char* fileName)
{
    EXPECT_EQ(root, description.root);
    EXPECT_EQ(relativePath, description.relativePath);
    EXPECT_EQ(fileName, description.fileName);
}

TEST(TrimBackslashes, RemovesThemFromBothEnds)
{
    EXPECT_EQ("a\\b", trim("\\\\a\\b\\\\"));
    EXPECT_EQ("a", trim("a\\"));
    EXPECT_EQ("a", trim("\\a"));
    EXPECT_EQ("a\\\\b", trim("a\\\\b"));
}

TEST(TrimBackslashes, LeavesNothingOfBackslashesAlone)
{
    EXPECT_EQ("", trim(""));
    EXPECT_EQ("", trim("\\"));
    EXPECT_EQ("", trim("\\\\\\"));
}

TEST(TrimBackslashes, ForwardSlashesStay)
{
    EXPECT_EQ("/a/", trim("/a/"));
}

TEST(RemoveTrailingBackslashes, LeavesTheBeginningAlone)
{
    EXPECT_EQ("\\a", removeTrailing("\\a\\\\"));
    EXPECT_EQ("a", removeTrailing("a"));
    EXPECT_EQ("", removeTrailing("\\\\"));
    EXPECT_EQ("", removeTrailing(""));
}

TEST(FindLastBackslash, IsZeroWithoutOne)
{
    EXPECT_EQ(6u, FindLastBackslash("C:\\dir\\a"));
    EXPECT_EQ(0u, FindLastBackslash("\\a"));
    EXPECT_EQ(0u, FindLastBackslash("a.txt"));
    EXPECT_EQ(0u, FindLastBackslash(""));
}

TEST(SplitFilePath, AnItemInTheRootHasNoRelativePath)
{
    const ClipfileDescription description = split("C:\\dir\\a.txt", "C:\\dir");
    expectSplit(description, "C:\\dir", "", "a.txt");
    EXPECT_EQ("C:\\dir\\a.txt", GetFullPath(description));
}

TEST(SplitFilePath, AnItemBelowTheRootHasItsPathWithoutBackslashesAtTheEnds)
{
    expectSplit(split("C:\\dir\\sub\\deep\\a.txt", "C:\\dir"), "C:\\dir", "sub\\deep", "a.txt");
    expectSplit(split("C:\\dir\\\\sub\\\\a.txt", "C:\\dir"), "C:\\dir", "sub", "a.txt");
}

TEST(SplitFilePath, TrailingBackslashesDoNotCount)
{
    expectSplit(split("C:\\dir\\sub\\\\", "C:\\dir"), "C:\\dir", "", "sub");
    expectSplit(split("C:\\dir\\sub\\a", "C:\\dir\\\\"), "C:\\dir", "sub", "a");
}

TEST(SplitFilePath, WithoutARootTheRelativePathIsTheWholeParent)
{
    const ClipfileDescription description = split("D:\\b\\g", "");
    expectSplit(description, "", "D:\\b", "g");
    EXPECT_EQ("D:\\b\\g", GetFullPath(description));
}

TEST(SplitFilePath, ANameWithoutABackslashStaysWhole)
{
    expectSplit(split("a.txt", ""), "", "", "a.txt");
    expectSplit(split("C:\\", ""), "", "", "C:");
}

TEST(SplitFilePath, ARootThatEndsInsideANameIsCutByItsLength)
{
    expectSplit(split("C:\\dir\\sub\\x.txt", "C:\\dir\\su"), "C:\\dir\\su", "b", "x.txt");
}

TEST(SplitFilePath, ARootAsLongAsTheParentOrLongerLeavesNoRelativePath)
{
    expectSplit(split("C:\\dir\\a.txt", "D:\\dir"), "D:\\dir", "", "a.txt");
    expectSplit(split("C:\\dir\\a.txt", "C:\\dir\\a.txt"), "C:\\dir\\a.txt", "", "a.txt");
    expectSplit(split("a", "C:\\a very long root"), "C:\\a very long root", "", "a");
}

TEST(SplitFilePath, NetworkNamesKeepTheirLeadingBackslashesInTheRoot)
{
    const ClipfileDescription description = split("\\\\server\\share\\a.txt", "\\\\server\\share");
    expectSplit(description, "\\\\server\\share", "", "a.txt");
    EXPECT_EQ("\\\\server\\share\\a.txt", GetFullPath(description));
}

TEST(SplitFilePath, EmptyTextsAndBackslashesAloneGiveEmptyTexts)
{
    expectSplit(split("", ""), "", "", "");
    expectSplit(split("\\\\\\", "\\"), "", "", "");
}

TEST(SplitFilePath, WhatTheDescriptionHeldIsReplacedAndOtherFieldsStay)
{
    ClipfileDescription description = split("C:\\dir\\sub\\a.txt", "C:\\dir");
    description.attributes = 7;
    description.size = 8;
    SplitFilePath(description, "x", "");
    expectSplit(description, "", "", "x");
    EXPECT_EQ(7u, description.attributes);
    EXPECT_EQ(8u, description.size);
}

TEST(MakePlatformPath, StripsTrailingBackslashes)
{
    EXPECT_EQ("C:\\dir", MakePlatformPath("C:\\dir\\"));
    EXPECT_EQ("C:\\dir", MakePlatformPath("C:\\dir\\\\\\"));
    EXPECT_EQ("\\\\server\\share", MakePlatformPath("\\\\server\\share\\"));
}

TEST(MakePlatformPath, KeepsOneBackslashOfARoot)
{
    EXPECT_EQ("C:\\", MakePlatformPath("C:\\"));
    EXPECT_EQ("C:\\", MakePlatformPath("C:\\\\\\"));
    EXPECT_EQ("\\\\?\\C:\\", MakePlatformPath("\\\\?\\C:\\"));
    EXPECT_EQ("\\", MakePlatformPath("\\\\"));
}

TEST(MakePlatformPath, AddsNothing)
{
    EXPECT_EQ("C:", MakePlatformPath("C:"));
    EXPECT_EQ("C:\\dir\\a.txt", MakePlatformPath("C:\\dir\\a.txt"));
    EXPECT_EQ("", MakePlatformPath(""));
}

}  // namespace
}  // namespace sd::clip
