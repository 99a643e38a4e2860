// What becomes of directories on a disk.
#include <windows.h>

#include <gtest/gtest.h>

#include "file_utilities/clip_file_list.h"
#include "file_utilities/encoding.h"
#include "file_utilities/file_names.h"
#include "support/temporary_folder.h"
#include "unit/file_utilities/sample_files.h"

namespace sd::clip {

class TestAccess {
public:
    static std::deque<DetailFileDescription>& allFiles(ClipFileList& list)
    {
        return list.mAllFiles;
    }
};

namespace {

using Names = std::vector<std::string>;

Names relativeNames(ClipFileList& list)
{
    Names names;
    for (const DetailFileDescription& description : TestAccess::allFiles(list))
        names.push_back(GetRelativeName(description));
    return names;
}

class RealWalk : public testing::Test {
protected:
    void SetUp() override
    {
        makeDirectory(directory);
    }

    Names expand()
    {
        list = ClipFileList({WideToUtf8(directory)});
        list.ExpandAllFiles(true);
        return relativeNames(list);
    }

    TemporaryFolder folder;
    std::wstring directory = folder.path() + L"\\sub";
    ClipFileList list;
};

TEST_F(RealWalk, AFileInASelectedDirectoryIsRelativeToTheDirectorysParent)
{
    makeFile(directory + L"\\a.txt", 9);
    ASSERT_EQ((Names{"sub\\a.txt"}), expand());
    const DetailFileDescription& file = TestAccess::allFiles(list)[0];
    EXPECT_EQ(WideToUtf8(folder.path()), file.root);
    EXPECT_EQ("sub", file.relativePath);
    EXPECT_EQ("a.txt", file.fileName);
    EXPECT_EQ(9u, file.size);
    EXPECT_EQ(WideToUtf8(directory + L"\\a.txt"), GetFullPath(file));
}

TEST_F(RealWalk, ASelectedEmptyDirectoryIsOneEntry)
{
    ASSERT_EQ((Names{"sub"}), expand());
    const DetailFileDescription& entry = TestAccess::allFiles(list)[0];
    EXPECT_EQ(0x4000, entry.mode);
    EXPECT_NE(0u, entry.attributes & FILE_ATTRIBUTE_DIRECTORY);
    EXPECT_EQ(0u, entry.size);
    EXPECT_EQ(0, entry.createTime);
    EXPECT_EQ(0, entry.accessTime);
    EXPECT_EQ(0, entry.writeTime);
}

TEST_F(RealWalk, ADirectoryOfEmptySubdirectoriesIsOneEntry)
{
    makeDirectory(directory + L"\\x");
    makeDirectory(directory + L"\\y");
    makeDirectory(directory + L"\\y\\z");
    ASSERT_EQ((Names{"sub"}), expand());
    EXPECT_EQ(0x4000, TestAccess::allFiles(list)[0].mode);
    EXPECT_EQ(0u, TestAccess::allFiles(list)[0].size);
}

TEST_F(RealWalk, AnEmptySubdirectoryBesideAFileVanishes)
{
    makeDirectory(directory + L"\\empty");
    makeFile(directory + L"\\a.txt");
    EXPECT_EQ((Names{"sub\\a.txt"}), expand());
}

TEST_F(RealWalk, ASizeOfMoreThan32BitsIsRight)
{
    makeFile(directory + L"\\big", 5000000000);
    ASSERT_EQ((Names{"sub\\big"}), expand());
    EXPECT_EQ(5000000000u, TestAccess::allFiles(list)[0].size);
}

TEST_F(RealWalk, NamesOfAllPlanesSurvive)
{
    makeDirectory(directory + L"\\\u00E4\u00F6");
    makeFile(directory + L"\\\u00E4\u00F6\\\u20AC\U0001F600");
    ASSERT_EQ((Names{"sub\\\xC3\xA4\xC3\xB6\\\xE2\x82\xAC\xF0\x9F\x98\x80"}), expand());
}

TEST_F(RealWalk, APathOfMoreThan260CharactersIsListed)
{
    const std::wstring part(100, L'd');
    std::wstring deep = directory;
    std::string relative = "sub";
    for (int i = 0; i < 4; ++i) {
        deep += L"\\" + part;
        relative += "\\" + WideToUtf8(part);
        ASSERT_TRUE(CreateDirectoryW((L"\\\\?\\" + deep).c_str(), nullptr)) << GetLastError();
    }
    makeFile(L"\\\\?\\" + deep + L"\\a.txt", 3);
    directory.insert(0, L"\\\\?\\");
    ASSERT_EQ((Names{relative + "\\a.txt"}), expand());
    EXPECT_EQ(3u, TestAccess::allFiles(list)[0].size);
}

TEST_F(RealWalk, ManyFilesKeepTheOrderOfTheListing)
{
    for (int i = 0; i < 200; ++i)
        makeFile(directory + L"\\" + std::to_wstring(i));
    Names listed;
    WIN32_FIND_DATAW entry;
    const HANDLE search = FindFirstFileW((directory + L"\\*").c_str(), &entry);
    ASSERT_NE(INVALID_HANDLE_VALUE, search);
    do {
        if (entry.cFileName[0] != L'.')
            listed.push_back("sub\\" + WideToUtf8(entry.cFileName));
    } while (FindNextFileW(search, &entry));
    FindClose(search);
    EXPECT_EQ(200u, listed.size());
    EXPECT_EQ(listed, expand());
}

}  // namespace
}  // namespace sd::clip
