// What is looked up in a filled list.
#include <gtest/gtest.h>

#include "file_utilities/clip_file_list.h"
#include "file_utilities/file_names.h"

namespace sd::clip {

class TestAccess {
public:
    static std::string& rootPath(ClipFileList& list)
    {
        return list.mRootPath;
    }
    static std::unordered_map<std::string, std::int32_t>& fileIndex(ClipFileList& list)
    {
        return list.mFileIndex;
    }
    static std::deque<DetailFileDescription>& allFiles(ClipFileList& list)
    {
        return list.mAllFiles;
    }
};

namespace {

DetailFileDescription makeEntry(const std::string& relativePath, const std::string& fileName)
{
    DetailFileDescription description;
    description.relativePath = relativePath;
    description.fileName = fileName;
    return description;
}

TEST(ClipFileList, CopiesAreAppendedInOrder)
{
    ClipFileList list;
    TestAccess::allFiles(list) = {makeEntry("x", "1"), makeEntry("", "2")};
    TestAccess::allFiles(list)[0].size = 5000000000;
    std::vector<ClipfileDescription> files(1);
    list.CopyAllFiles(files);
    ASSERT_EQ(3u, files.size());
    EXPECT_EQ("", files[0].fileName);
    EXPECT_EQ("x\\1", GetRelativeName(files[1]));
    EXPECT_EQ(5000000000u, files[1].size);
    EXPECT_EQ("2", GetRelativeName(files[2]));
    EXPECT_EQ(2u, TestAccess::allFiles(list).size());
}

TEST(ClipFileList, TakenEntriesKeepTheirOrderAndLeaveAnEmptyList)
{
    ClipFileList list;
    for (int i = 0; i < 1000; ++i)
        TestAccess::allFiles(list).push_back(makeEntry("x", std::to_string(i)));
    TestAccess::allFiles(list)[999].size = 5000000000;
    const std::vector<ClipfileDescription> files = list.TakeAllFiles();
    ASSERT_EQ(1000u, files.size());
    for (std::size_t i = 0; i < files.size(); ++i)
        EXPECT_EQ("x\\" + std::to_string(i), GetRelativeName(files[i]));
    EXPECT_EQ(5000000000u, files[999].size);
    EXPECT_TRUE(TestAccess::allFiles(list).empty());
    EXPECT_TRUE(list.TakeAllFiles().empty());
}

// Of a long list neither texts nor entries may be there twice.
TEST(ClipFileList, TakenEntriesAreNoCopiesAndHaveNoSpareCapacity)
{
    ClipFileList list;
    const std::string longName(1000, 'n');
    for (int i = 0; i < 5; ++i)
        TestAccess::allFiles(list).push_back(makeEntry("x", longName));
    const char* const text = TestAccess::allFiles(list)[4].fileName.data();
    const std::vector<ClipfileDescription> files = list.TakeAllFiles();
    EXPECT_EQ(text, files.at(4).fileName.data());
    EXPECT_EQ(files.size(), files.capacity());
}

TEST(ClipFileList, TheIndexHoldsPositionsPlusOneAndTheLastOfEqualNames)
{
    ClipFileList list;
    TestAccess::allFiles(list) = {makeEntry("x", "1"), makeEntry("", "2"), makeEntry("x", "1")};
    TestAccess::fileIndex(list)["stale"] = 9;
    list.BuildFileIndex();
    EXPECT_EQ((std::unordered_map<std::string, std::int32_t>{{"x\\1", 3}, {"2", 2}}), TestAccess::fileIndex(list));
}

TEST(ClipFileList, ARebuiltListLeavesTheIndexUntilItIsBuiltAnew)
{
    ClipFileList list;
    TestAccess::allFiles(list) = {makeEntry("x", "1")};
    list.BuildFileIndex();
    list.RebuildAllFiles(true);
    EXPECT_TRUE(TestAccess::allFiles(list).empty());
    EXPECT_EQ((std::unordered_map<std::string, std::int32_t>{{"x\\1", 1}}), TestAccess::fileIndex(list));
}

TEST(ClipFileList, AnEmptyListLeavesTheIndexAsItIs)
{
    ClipFileList list;
    TestAccess::fileIndex(list)["stale"] = 9;
    list.BuildFileIndex();
    EXPECT_EQ(9, TestAccess::fileIndex(list)["stale"]);
}

TEST(ClipFileList, TheIndexFindsANameAndEntersAMissingOne)
{
    ClipFileList list;
    TestAccess::allFiles(list) = {makeEntry("x", "1"), makeEntry("", "2"), makeEntry("x", "1")};
    list.BuildFileIndex();
    EXPECT_EQ(2, list.FindFileIndex("x\\1"));
    EXPECT_EQ(1, list.FindFileIndex("2"));
    EXPECT_EQ(-1, list.FindFileIndex("missing"));
    EXPECT_EQ(3u, TestAccess::fileIndex(list).size());
    EXPECT_EQ(0, TestAccess::fileIndex(list).at("missing"));
    EXPECT_EQ(-1, list.FindFileIndex("missing"));
}

TEST(ClipFileList, WithoutAnIndexTheFirstEqualNameIsFound)
{
    ClipFileList list;
    TestAccess::allFiles(list) = {makeEntry("x", "1"), makeEntry("", "2"), makeEntry("", "2")};
    EXPECT_EQ(0, list.FindFileIndex("x\\1"));
    EXPECT_EQ(1, list.FindFileIndex("2"));
    EXPECT_EQ(-1, list.FindFileIndex("X\\1"));
    EXPECT_EQ(-1, list.FindFileIndex("x/1"));
    EXPECT_TRUE(TestAccess::fileIndex(list).empty());
    EXPECT_EQ(-1, ClipFileList().FindFileIndex(""));
}

TEST(ClipFileList, APositionOutsideOfTheListHasNoDescription)
{
    ClipFileList list;
    EXPECT_EQ(nullptr, list.GetFileDescription(0));
    TestAccess::allFiles(list) = {makeEntry("", "1")};
    EXPECT_EQ(nullptr, list.GetFileDescription(-1));
    EXPECT_EQ(nullptr, list.GetFileDescription(1));
    EXPECT_EQ(nullptr, list.GetFileDescription(INT32_MAX));
    EXPECT_EQ(nullptr, list.GetFileDescription(INT32_MIN));
}

TEST(ClipFileList, ADescriptionWithoutARootTakesTheLists)
{
    ClipFileList list;
    TestAccess::rootPath(list) = "C:\\dir";
    TestAccess::allFiles(list) = {makeEntry("", "1"), makeEntry("", "2")};
    TestAccess::allFiles(list)[1].root = "D:";
    ASSERT_EQ(&TestAccess::allFiles(list)[0], list.GetFileDescription(0));
    EXPECT_EQ("C:\\dir", TestAccess::allFiles(list)[0].root);
    EXPECT_EQ("D:", list.GetFileDescription(1)->root);
}

}  // namespace
}  // namespace sd::clip
