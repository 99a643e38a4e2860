#include "file_utilities/file_names.h"

#include <gtest/gtest.h>

namespace sd::clip {
namespace {

ClipfileDescription makeDescription(const char* root, const char* relativePath, const char* fileName)
{
    ClipfileDescription description;
    description.root = root;
    description.relativePath = relativePath;
    description.fileName = fileName;
    return description;
}

TEST(GetRelativeName, JoinsPathAndName)
{
    EXPECT_EQ("sub\\deep\\a.txt", GetRelativeName(makeDescription("C:\\dir", "sub\\deep", "a.txt")));
}

TEST(GetRelativeName, IsTheNameAloneForAnItemInTheRoot)
{
    EXPECT_EQ("a.txt", GetRelativeName(makeDescription("C:\\dir", "", "a.txt")));
}

TEST(GetRelativeName, KeepsTheBackslashBeforeAnEmptyName)
{
    EXPECT_EQ("sub\\", GetRelativeName(makeDescription("C:\\dir", "sub", "")));
    EXPECT_EQ("", GetRelativeName(makeDescription("C:\\dir", "", "")));
}

TEST(GetRelativeNameSlashed, HasForwardSlashesOnly)
{
    EXPECT_EQ("sub/deep/a.txt", GetRelativeNameSlashed(makeDescription("C:\\dir", "sub\\deep", "a.txt")));
    EXPECT_EQ("a.txt", GetRelativeNameSlashed(makeDescription("C:\\dir", "", "a.txt")));
    EXPECT_EQ("sub/x/y", GetRelativeNameSlashed(makeDescription("", "sub/x", "y")));
}

TEST(GetFullPath, JoinsRootPathAndName)
{
    EXPECT_EQ("C:\\dir\\sub\\a.txt", GetFullPath(makeDescription("C:\\dir", "sub", "a.txt")));
}

TEST(GetFullPath, LeavesOutWhatIsEmpty)
{
    EXPECT_EQ("C:\\dir\\a.txt", GetFullPath(makeDescription("C:\\dir", "", "a.txt")));
    EXPECT_EQ("D:\\b\\g", GetFullPath(makeDescription("", "D:\\b", "g")));
    EXPECT_EQ("C:", GetFullPath(makeDescription("", "", "C:")));
}

}  // namespace
}  // namespace sd::clip
