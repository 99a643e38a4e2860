// The selection and its expansion. How a directory is walked is told in clip_file_list_walk_test.cpp.
#include "file_utilities/clip_file_list.h"

#include <sys/stat.h>
#include <sys/types.h>
#include <windows.h>

#include <gtest/gtest.h>

#include "base/log.h"
#include "file_utilities/encoding.h"
#include "file_utilities/file_names.h"
#include "support/import_hook.h"
#include "support/recording_log.h"
#include "support/temporary_folder.h"
#include "unit/file_utilities/fake_listing.h"
#include "unit/file_utilities/sample_files.h"

namespace sd::clip {

class TestAccess {
public:
    static std::string& rootPath(ClipFileList& list)
    {
        return list.mRootPath;
    }
    static std::vector<DetailFileDescription>& selectedFiles(ClipFileList& list)
    {
        return list.mSelectedFiles;
    }
    static std::vector<std::string>& selectedPaths(ClipFileList& list)
    {
        return list.mSelectedPaths;
    }
    static std::unordered_map<std::string, std::int32_t>& fileIndex(ClipFileList& list)
    {
        return list.mFileIndex;
    }
    static std::deque<DetailFileDescription>& allFiles(ClipFileList& list)
    {
        return list.mAllFiles;
    }
    static bool& cancelTraverse(ClipFileList& list)
    {
        return list.mCancelTraverse;
    }
};

namespace {

const std::string kNothingLeft = "Have no valid file list!!!, file copy will be canceled.";

class ClipFileListTest : public testing::Test {
protected:
    std::string path(const std::string& relative) const
    {
        return WideToUtf8(folder.path()) + "\\" + relative;
    }
    std::wstring widePath(const std::wstring& relative) const
    {
        return folder.path() + L"\\" + relative;
    }

    static std::vector<std::string> relativeNames(ClipFileList& list)
    {
        std::vector<std::string> names;
        for (const DetailFileDescription& description : TestAccess::allFiles(list))
            names.push_back(GetRelativeName(description));
        return names;
    }

    static DetailFileDescription makeEntry(const std::string& relativePath, const std::string& fileName)
    {
        DetailFileDescription description;
        description.relativePath = relativePath;
        description.fileName = fileName;
        return description;
    }

    static void expectEmpty(ClipFileList& list)
    {
        EXPECT_EQ("", TestAccess::rootPath(list));
        EXPECT_TRUE(TestAccess::selectedFiles(list).empty());
        EXPECT_TRUE(TestAccess::allFiles(list).empty());
        EXPECT_TRUE(TestAccess::fileIndex(list).empty());
        EXPECT_FALSE(TestAccess::cancelTraverse(list));
    }

    // A selection that is refused says nothing until it is expanded.
    static void expectRefused(const std::vector<std::string>& paths)
    {
        RecordingLog::clear();
        ClipFileList list(paths);
        expectEmpty(list);
        EXPECT_TRUE(RecordingLog::messages().empty());
        list.ExpandAllFiles(true);
        expectEmpty(list);
        EXPECT_EQ((std::vector<std::string>{kNothingLeft}), RecordingLog::messages(kLogError));
    }

    TemporaryFolder folder;
};

TEST_F(ClipFileListTest, WithoutASelectionEverythingIsEmpty)
{
    ClipFileList list;
    expectEmpty(list);
    EXPECT_TRUE(TestAccess::selectedPaths(list).empty());
}

TEST_F(ClipFileListTest, OneFileHasItsDirectoryAsRoot)
{
    makeFile(widePath(L"a.txt"), 7);
    ClipFileList list({path("a.txt")});
    EXPECT_EQ(WideToUtf8(folder.path()), TestAccess::rootPath(list));
    EXPECT_EQ((std::vector<std::string>{path("a.txt")}), TestAccess::selectedPaths(list));
    ASSERT_EQ(1u, TestAccess::selectedFiles(list).size());

    list.ExpandAllFiles(true);
    ASSERT_EQ(1u, TestAccess::allFiles(list).size());
    const DetailFileDescription& file = TestAccess::allFiles(list)[0];
    EXPECT_EQ(WideToUtf8(folder.path()), file.root);
    EXPECT_EQ("", file.relativePath);
    EXPECT_EQ("a.txt", file.fileName);
    EXPECT_EQ(path("a.txt"), GetFullPath(file));
    EXPECT_EQ(7u, file.size);
}

TEST_F(ClipFileListTest, ASelectedFileHasTheWholeModeAndAWalkedOneOnlyItsType)
{
    makeDirectory(widePath(L"sub"));
    makeFile(widePath(L"sub\\a.txt"));
    ClipFileList selected({path("sub\\a.txt")});
    ClipFileList walked({path("sub")});
    selected.ExpandAllFiles(true);
    walked.ExpandAllFiles(true);

    struct _stat64 status = {};
    ASSERT_EQ(0, _wstat64(widePath(L"sub\\a.txt").c_str(), &status));
    EXPECT_EQ(status.st_mode, TestAccess::allFiles(selected).at(0).mode);
    EXPECT_NE(0x8000, status.st_mode);
    EXPECT_EQ(0x8000, TestAccess::allFiles(walked).at(0).mode);
}

TEST_F(ClipFileListTest, ATrailingBackslashChangesNothing)
{
    makeDirectory(widePath(L"sub"));
    makeFile(widePath(L"sub\\a.txt"));
    for (const char* selected : {"sub", "sub\\", "sub\\\\"}) {
        ClipFileList list({path(selected)});
        EXPECT_EQ(WideToUtf8(folder.path()), TestAccess::rootPath(list));
        ASSERT_EQ(1u, TestAccess::selectedFiles(list).size());
        const DetailFileDescription& directory = TestAccess::selectedFiles(list)[0];
        EXPECT_EQ("", directory.relativePath);
        EXPECT_EQ("sub", directory.fileName);
        EXPECT_EQ(path("sub"), GetFullPath(directory));
        list.ExpandAllFiles(true);
        EXPECT_EQ((std::vector<std::string>{"sub\\a.txt"}), relativeNames(list));
    }
}

TEST_F(ClipFileListTest, FilesOnTwoDrivesHaveNoRootAndKeepTheirPaths)
{
    ImportHook<decltype(&_wstat64)> stat(
        nullptr, "_wstat64", +[](const wchar_t*, struct _stat64* status) -> int {
            *status = {};
            status->st_mode = 0x81B6;
            return 0;
        });
    ClipFileList list({"C:\\a\\f", "D:\\b\\g"});
    EXPECT_EQ("", TestAccess::rootPath(list));
    ASSERT_EQ(2u, TestAccess::selectedFiles(list).size());
    EXPECT_EQ("", TestAccess::selectedFiles(list)[1].root);
    EXPECT_EQ("D:\\b", TestAccess::selectedFiles(list)[1].relativePath);
    EXPECT_EQ("g", TestAccess::selectedFiles(list)[1].fileName);
    EXPECT_EQ("C:\\a\\f", GetFullPath(TestAccess::selectedFiles(list)[0]));
    EXPECT_EQ("D:\\b\\g", GetFullPath(TestAccess::selectedFiles(list)[1]));
}

TEST_F(ClipFileListTest, ParentsThatBeginAlikeGiveARootThatEndsInsideAName)
{
    makeDirectory(widePath(L"sub"));
    makeDirectory(widePath(L"sur"));
    makeFile(widePath(L"sub\\x.txt"));
    makeFile(widePath(L"sur\\y.txt"));
    ClipFileList list({path("sub\\x.txt"), path("sur\\y.txt")});
    EXPECT_EQ(path("su"), TestAccess::rootPath(list));
    list.ExpandAllFiles(true);
    EXPECT_EQ((std::vector<std::string>{"b\\x.txt", "r\\y.txt"}), relativeNames(list));
}

TEST_F(ClipFileListTest, AnEmptySelectionIsRefusedSilently)
{
    expectRefused({});
    expectRefused({""});
    expectRefused({"", path("a.txt")});
}

TEST_F(ClipFileListTest, ADirectoryBesideItsOwnFileIsRefusedSilently)
{
    makeFile(widePath(L"a.txt"));
    expectRefused({WideToUtf8(folder.path()), path("a.txt")});
}

TEST_F(ClipFileListTest, TheSamePathTwiceIsRefusedSilently)
{
    makeFile(widePath(L"a.txt"));
    expectRefused({path("a.txt"), path("a.txt")});
}

TEST_F(ClipFileListTest, APathEndsAtItsTerminator)
{
    makeFile(widePath(L"a.txt"));
    makeFile(widePath(L"b.txt"));
    const std::string terminator(1, '\0');
    ClipFileList list({path("a.txt") + terminator, path("b.txt") + terminator + "and more"});
    EXPECT_EQ((std::vector<std::string>{path("a.txt"), path("b.txt")}), TestAccess::selectedPaths(list));
    list.ExpandAllFiles(true);
    EXPECT_EQ((std::vector<std::string>{"a.txt", "b.txt"}), relativeNames(list));
}

TEST_F(ClipFileListTest, ATerminatorAloneIsAnEmptyPath)
{
    expectRefused({std::string(1, '\0')});
}

TEST_F(ClipFileListTest, APathThatCannotBeReadIsLoggedAndDropped)
{
    makeFile(widePath(L"a.txt"));
    makeFile(widePath(L"c.txt"));
    ClipFileList list({path("a.txt"), path("b.txt"), path("c.txt")});
    EXPECT_EQ(
        (std::vector<std::string>{path("b.txt") + " is not be found or does not have perssion to access. error code 2",
                                  "File " + path("b.txt") + " access failed! error code 2"}),
        RecordingLog::messages(kLogError));
    EXPECT_EQ(3u, TestAccess::selectedPaths(list).size());
    list.ExpandAllFiles(true);
    EXPECT_EQ((std::vector<std::string>{"a.txt", "c.txt"}), relativeNames(list));
}

TEST_F(ClipFileListTest, WhenNoPathCanBeReadTheListEndsEmpty)
{
    ClipFileList list({path("missing")});
    EXPECT_EQ(WideToUtf8(folder.path()), TestAccess::rootPath(list));
    list.ExpandAllFiles(true);
    EXPECT_TRUE(TestAccess::allFiles(list).empty());
    EXPECT_EQ(1, RecordingLog::count(kLogError, kNothingLeft));
    list.ExpandAllFiles(false);
    EXPECT_EQ(2, RecordingLog::count(kLogError, kNothingLeft));
}

TEST_F(ClipFileListTest, AFileThatIsOnlyListedStaysSelected)
{
    makeFile(widePath(L"a.txt"), 7);
    ImportHook<decltype(&_wstat64)> stat(
        nullptr, "_wstat64", +[](const wchar_t*, struct _stat64*) -> int { return -1; });
    ClipFileList list({path("a.txt")});
    ASSERT_EQ(1u, TestAccess::selectedFiles(list).size());
    EXPECT_EQ(7u, TestAccess::selectedFiles(list)[0].size);
    EXPECT_EQ(0x8000, TestAccess::selectedFiles(list)[0].mode);
    EXPECT_TRUE(RecordingLog::messages().empty());
}

TEST_F(ClipFileListTest, SelectedFilesKeepTheirOrder)
{
    for (const wchar_t* name : {L"a", L"b", L"c"})
        makeFile(widePath(name));
    ClipFileList list({path("c"), path("a"), path("b")});
    list.ExpandAllFiles(true);
    EXPECT_EQ((std::vector<std::string>{"c", "a", "b"}), relativeNames(list));
}

TEST_F(ClipFileListTest, WithoutExpansionADirectoryStandsForItself)
{
    makeDirectory(widePath(L"sub"));
    makeFile(widePath(L"sub\\a.txt"));
    ClipFileList list({path("sub")});
    list.ExpandAllFiles(false);
    ASSERT_EQ((std::vector<std::string>{"sub"}), relativeNames(list));
    EXPECT_EQ(0x4000, TestAccess::allFiles(list)[0].mode & 0xF000);
    EXPECT_NE(0u, TestAccess::allFiles(list)[0].attributes & FILE_ATTRIBUTE_DIRECTORY);
}

TEST_F(ClipFileListTest, ASecondExpansionLeavesTheListAsItIs)
{
    makeDirectory(widePath(L"sub"));
    makeFile(widePath(L"sub\\a.txt"));
    ClipFileList list({path("sub")});
    list.ExpandAllFiles(false);
    list.ExpandAllFiles(false);
    list.ExpandAllFiles(true);
    EXPECT_EQ((std::vector<std::string>{"sub"}), relativeNames(list));
}

TEST_F(ClipFileListTest, RebuildingFillsTheListAnew)
{
    makeDirectory(widePath(L"sub"));
    makeFile(widePath(L"sub\\a.txt"));
    ClipFileList list({path("sub")});
    list.RebuildAllFiles(false);
    EXPECT_EQ((std::vector<std::string>{"sub"}), relativeNames(list));
    list.RebuildAllFiles(true);
    EXPECT_EQ((std::vector<std::string>{"sub\\a.txt"}), relativeNames(list));
    makeFile(widePath(L"sub\\b.txt"));
    list.RebuildAllFiles(true);
    EXPECT_EQ(2u, relativeNames(list).size());
}

TEST_F(ClipFileListTest, EitherBitMakesASelectedEntryADirectory)
{
    FakeListing listing;
    for (const auto& [attributes, mode] : {std::pair<std::uint32_t, std::uint16_t>{0x10, 0}, {0, 0x4000}}) {
        ClipFileList list;
        DetailFileDescription directory = makeEntry("", "C:");
        directory.attributes = attributes;
        directory.mode = mode;
        TestAccess::selectedFiles(list) = {directory};
        listing.patterns.clear();
        list.ExpandAllFiles(true);
        EXPECT_EQ((std::vector<std::wstring>{L"C:\\*"}), listing.patterns);
    }
}

TEST_F(ClipFileListTest, ASelectedFileIsNotWalked)
{
    FakeListing listing;
    ClipFileList list;
    DetailFileDescription file = makeEntry("", "a.txt");
    file.attributes = 0x20;
    file.mode = 0x81B6;
    TestAccess::selectedFiles(list) = {file};
    list.ExpandAllFiles(true);
    EXPECT_TRUE(listing.patterns.empty());
    EXPECT_EQ((std::vector<std::string>{"a.txt"}), relativeNames(list));
}

TEST_F(ClipFileListTest, TheRootOfADriveIsWalkedFromItsTop)
{
    ClipFileList list({"C:\\"});
    EXPECT_EQ("", TestAccess::rootPath(list));
    ASSERT_EQ(1u, TestAccess::selectedFiles(list).size());

    FakeListing listing;
    listing.addDirectory(L"C:");
    listing.addFile(L"C:", L"a.txt");
    list.ExpandAllFiles(true);
    EXPECT_EQ((std::vector<std::string>{"C:\\a.txt"}), relativeNames(list));
}

TEST_F(ClipFileListTest, ACancelledExpansionIsLoggedAndSaysNothingOfAnEmptyList)
{
    makeFile(widePath(L"a.txt"));
    ClipFileList list({path("a.txt")});
    TestAccess::cancelTraverse(list) = true;
    list.ExpandAllFiles(true);
    EXPECT_TRUE(TestAccess::allFiles(list).empty());
    EXPECT_EQ((std::vector<std::string>{"Cancel the traverse file work."}), RecordingLog::messages(kLogError));
}

TEST_F(ClipFileListTest, WithNothingSelectedThereIsNothingToCancel)
{
    ClipFileList list;
    TestAccess::cancelTraverse(list) = true;
    list.ExpandAllFiles(true);
    EXPECT_EQ((std::vector<std::string>{kNothingLeft}), RecordingLog::messages(kLogError));
}

}  // namespace
}  // namespace sd::clip
