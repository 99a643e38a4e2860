// What the walk of a directory writes into the description of a file.
#include <windows.h>

#include <gtest/gtest.h>

#include "file_utilities/clip_file_list.h"
#include "file_utilities/path_text.h"
#include "unit/file_utilities/fake_listing.h"

namespace sd::clip {

class TestAccess {
public:
    static std::deque<DetailFileDescription> traverse(const std::string& path, const std::string& root)
    {
        ClipFileList list;
        list.TraverseDirectory(path, root);
        return list.mAllFiles;
    }
};

namespace {

// The root need not be a directory above the file: its length decides.
TEST(WalkedEntries, HaveTheTextsOfTheirPathsWhateverTheRootIs)
{
    FakeListing listing;
    listing.addDirectory(L"C:\\dir");
    listing.addFile(L"C:\\dir", L"a");
    listing.addSubdirectory(L"C:\\dir", L"sub");
    listing.addFile(L"C:\\dir\\sub", L"b");
    for (const char* const root : {"", "C:", "C:\\", "C:\\di", "C:\\dir", "C:\\dir\\", "C:\\dir\\s", "C:\\dir\\sub",
                                   "C:\\dir\\sub\\b", "D:\\a root that is longer than the path"}) {
        const auto files = TestAccess::traverse("C:\\dir", root);
        ASSERT_EQ(2u, files.size());
        for (const std::size_t position : {0u, 1u}) {
            ClipfileDescription expected;
            SplitFilePath(expected, position == 0 ? "C:\\dir\\a" : "C:\\dir\\sub\\b", root);
            EXPECT_EQ(expected.root, files[position].root) << root;
            EXPECT_EQ(expected.relativePath, files[position].relativePath) << root;
            EXPECT_EQ(expected.fileName, files[position].fileName) << root;
        }
    }
}

TEST(WalkedEntries, KeepNothingOfTheFileBefore)
{
    FakeListing listing;
    listing.addDirectory(L"C:\\dir");
    WIN32_FIND_DATAW entry = FakeListing::makeEntry(L"a longer name than the second's", FILE_ATTRIBUTE_READONLY);
    entry.nFileSizeHigh = 2;
    entry.ftCreationTime = entry.ftLastAccessTime = entry.ftLastWriteTime = {0xD53E8000, 0x029DB1DE};
    listing.add(L"C:\\dir", entry);
    listing.addFile(L"C:\\dir", L"second", FILE_ATTRIBUTE_ARCHIVE);

    const auto files = TestAccess::traverse("C:\\dir", "C:");
    ASSERT_EQ(2u, files.size());
    EXPECT_EQ(0x200000000u, files[0].size);
    EXPECT_LT(0, files[0].createTime);
    EXPECT_EQ("second", files[1].fileName);
    EXPECT_EQ(DWORD{FILE_ATTRIBUTE_ARCHIVE}, files[1].attributes);
    EXPECT_EQ(0u, files[1].size);
    constexpr std::int64_t kStartOf1601 = -11644473600;
    EXPECT_EQ(kStartOf1601, files[1].createTime);
    EXPECT_EQ(kStartOf1601, files[1].accessTime);
    EXPECT_EQ(kStartOf1601, files[1].writeTime);
}

}  // namespace
}  // namespace sd::clip
