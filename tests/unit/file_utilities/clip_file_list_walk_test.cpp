// How a selected directory becomes the list of the files below it, with a listing that plays any part.
#include <sys/stat.h>
#include <sys/types.h>
#include <windows.h>

#include <gtest/gtest.h>

#include "base/log.h"
#include "file_utilities/clip_file_list.h"
#include "file_utilities/file_names.h"
#include "support/import_hook.h"
#include "support/platform_function.h"
#include "support/recording_log.h"
#include "unit/file_utilities/fake_listing.h"

namespace sd::clip {

class TestAccess {
public:
    static std::vector<DetailFileDescription>& selectedFiles(ClipFileList& list)
    {
        return list.mSelectedFiles;
    }
    static std::deque<DetailFileDescription>& allFiles(ClipFileList& list)
    {
        return list.mAllFiles;
    }
    static bool& cancelTraverse(ClipFileList& list)
    {
        return list.mCancelTraverse;
    }
    static void traverse(ClipFileList& list, const std::string& path, const std::string& root)
    {
        list.TraverseDirectory(path, root);
    }
};

namespace {

using Names = std::vector<std::string>;
using Patterns = std::vector<std::wstring>;

Names relativeNames(ClipFileList& list)
{
    Names names;
    for (const DetailFileDescription& description : TestAccess::allFiles(list))
        names.push_back(GetRelativeName(description));
    return names;
}

// One text can't be converted to UTF-8.
class WithoutText {
public:
    explicit WithoutText(std::wstring text)
    {
        sText = std::move(text);
    }

private:
    static int convert(UINT page, DWORD flags, LPCWCH text, int length, LPSTR output, int size, LPCCH other,
                       LPBOOL used)
    {
        return std::wstring_view(text, static_cast<std::size_t>(length)) == sText
                   ? 0
                   : sReal(page, flags, text, length, output, size, other, used);
    }

    static inline std::wstring sText;
    static inline const auto sReal = findInKernel32<decltype(&WideCharToMultiByte)>("WideCharToMultiByte");
    const ImportHook<decltype(&WideCharToMultiByte)> mHook{nullptr, "WideCharToMultiByte", &convert};
};

// Walks directories that exist on no disk, from C:\dir on.
class FakeWalk : public testing::Test {
protected:
    FakeWalk()
    {
        listing.addDirectory(kTop);
    }

    void TearDown() override
    {
        EXPECT_EQ(0, listing.openSearches);
    }

    Names walk()
    {
        TestAccess::traverse(list, "C:\\dir", "C:");
        return relativeNames(list);
    }

    const DetailFileDescription& file(std::size_t position)
    {
        return TestAccess::allFiles(list).at(position);
    }

    const std::wstring kTop = L"C:\\dir";
    FakeListing listing;
    ClipFileList list;
};

TEST_F(FakeWalk, FilesComeInOrderThenTheLastDirectoryFirstAndDeep)
{
    listing.addFile(kTop, L"a");
    listing.addSubdirectory(kTop, L"d1");
    listing.addFile(kTop, L"b");
    listing.addSubdirectory(kTop, L"d2");
    listing.addFile(kTop + L"\\d1", L"1");
    listing.addSubdirectory(kTop + L"\\d1", L"deep");
    listing.addSubdirectory(kTop + L"\\d1", L"deeper");
    listing.addFile(kTop + L"\\d1", L"2");
    listing.addFile(kTop + L"\\d1\\deep", L"x");
    listing.addFile(kTop + L"\\d1\\deeper", L"y");
    listing.addFile(kTop + L"\\d2", L"3");
    EXPECT_EQ(
        (Names{"dir\\a", "dir\\b", "dir\\d2\\3", "dir\\d1\\1", "dir\\d1\\2", "dir\\d1\\deeper\\y", "dir\\d1\\deep\\x"}),
        walk());
}

TEST_F(FakeWalk, AFileIsDescribedFromTheListingAlone)
{
    static int asked;
    asked = 0;
    ImportHook<decltype(&_wstat64)> stat(
        nullptr, "_wstat64", +[](const wchar_t*, struct _stat64*) -> int { return ++asked; });
    ImportHook<decltype(&GetFileAttributesW)> attributes(
        nullptr, "GetFileAttributesW", +[](LPCWSTR) -> DWORD { return static_cast<DWORD>(++asked); });
    WIN32_FIND_DATAW entry = FakeListing::makeEntry(L"a", FILE_ATTRIBUTE_ARCHIVE);
    entry.nFileSizeHigh = 2;
    entry.nFileSizeLow = 3;
    entry.ftCreationTime = {0xD53E8000, 0x019DB1DE};  // the first second of 1970
    entry.ftLastAccessTime = entry.ftCreationTime;
    entry.ftLastWriteTime = {0xD53E8000 + 10000000, 0x019DB1DE};
    listing.addSubdirectory(kTop, L"sub");
    listing.add(kTop + L"\\sub", entry);

    EXPECT_EQ((Names{"dir\\sub\\a"}), walk());
    EXPECT_EQ("C:", file(0).root);
    EXPECT_EQ("dir\\sub", file(0).relativePath);
    EXPECT_EQ("a", file(0).fileName);
    EXPECT_EQ(DWORD{FILE_ATTRIBUTE_ARCHIVE}, file(0).attributes);
    EXPECT_EQ(0x8000, file(0).mode);
    EXPECT_EQ(0x200000003u, file(0).size);
    EXPECT_EQ(0, file(0).createTime);
    EXPECT_EQ(0, file(0).accessTime);
    EXPECT_EQ(1, file(0).writeTime);
    EXPECT_EQ(0, asked);
}

TEST_F(FakeWalk, EveryDirectoryIsListedOnceByItsPath)
{
    listing.addSubdirectory(kTop, L"sub");
    walk();
    EXPECT_EQ((Patterns{L"C:\\dir\\*", L"C:\\dir\\sub\\*"}), listing.patterns);
}

TEST_F(FakeWalk, HiddenFilesSystemFilesAndLinksAreLikeAnyOther)
{
    listing.addFile(kTop, L"hidden", FILE_ATTRIBUTE_HIDDEN);
    listing.addFile(kTop, L"system", FILE_ATTRIBUTE_SYSTEM);
    listing.addFile(kTop, L"link", FILE_ATTRIBUTE_REPARSE_POINT);
    listing.addFile(kTop, L"junction", FILE_ATTRIBUTE_REPARSE_POINT | FILE_ATTRIBUTE_DIRECTORY);
    listing.addDirectory(kTop + L"\\junction");
    listing.addFile(kTop + L"\\junction", L"inside");
    EXPECT_EQ((Names{"dir\\hidden", "dir\\system", "dir\\link", "dir\\junction\\inside"}), walk());
}

TEST_F(FakeWalk, NamesThatBeginWithDotsAreNotSkipped)
{
    listing.addFile(kTop, L".profile");
    listing.addFile(kTop, L"...");
    EXPECT_EQ((Names{"dir\\.profile", "dir\\..."}), walk());
}

TEST_F(FakeWalk, ANameThatIsNotUtf16GetsAReplacementCharacter)
{
    listing.addFile(kTop, std::wstring{L'a', 0xD800, L'b'});
    listing.addFile(kTop, std::wstring{0xDC00});
    EXPECT_EQ((Names{"dir\\a\xEF\xBF\xBD"
                     "b",
                     "dir\\\xEF\xBF\xBD"}),
              walk());
}

TEST_F(FakeWalk, ADirectoryThatIsNotUtf16IsListedByItsTrueName)
{
    const std::wstring name = {L'a', 0xD800};
    listing.addSubdirectory(kTop, name);
    listing.addFile(kTop + L"\\" + name, L"f");
    EXPECT_EQ((Names{"dir\\a\xEF\xBF\xBD\\f"}), walk());
}

TEST_F(FakeWalk, AnEmptyDirectoryIsOneEntry)
{
    EXPECT_EQ((Names{"dir"}), walk());
    EXPECT_EQ(0x4000, file(0).mode);
    EXPECT_EQ(DWORD{FILE_ATTRIBUTE_DIRECTORY}, file(0).attributes);
    EXPECT_EQ(0u, file(0).size);
    EXPECT_EQ(0, file(0).writeTime);
}

TEST_F(FakeWalk, TheEntryOfADirectoryWithoutFilesIsDescribedByTheLastEntrySeen)
{
    listing.addSubdirectory(kTop, L"first");
    listing.add(kTop + L"\\first", FakeListing::makeEntry(L"last", FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_HIDDEN));
    EXPECT_EQ((Names{"dir"}), walk());
    // "last" itself cannot be listed and leaves the buffer alone.
    EXPECT_EQ(DWORD{FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_HIDDEN}, file(0).attributes);
    EXPECT_EQ(0x4000, file(0).mode);
}

TEST_F(FakeWalk, ADirectoryThatCannotBeListedIsSkippedSilently)
{
    listing.addFile(kTop, L"locked", FILE_ATTRIBUTE_DIRECTORY);
    listing.addSubdirectory(kTop, L"open");
    listing.addFile(kTop + L"\\open", L"a");
    EXPECT_EQ((Names{"dir\\open\\a"}), walk());
    EXPECT_EQ((Patterns{L"C:\\dir\\*", L"C:\\dir\\open\\*", L"C:\\dir\\locked\\*"}), listing.patterns);
    EXPECT_TRUE(RecordingLog::messages().empty());
}

TEST_F(FakeWalk, WhenNothingCanBeListedTheEntryKnowsNothing)
{
    TestAccess::traverse(list, "C:\\locked\\sub", "C:\\locked");
    ASSERT_EQ((Names{"sub"}), relativeNames(list));
    EXPECT_EQ("C:\\locked", file(0).root);
    EXPECT_EQ(0u, file(0).attributes);
    EXPECT_EQ(0, file(0).mode);
    EXPECT_EQ(0u, file(0).size);
    EXPECT_EQ(0, file(0).createTime);
    EXPECT_EQ(0, file(0).accessTime);
    EXPECT_EQ(0, file(0).writeTime);
    EXPECT_TRUE(RecordingLog::messages().empty());
}

// An empty path before the pattern would name the root of the drive.
TEST_F(FakeWalk, ADirectoryWhosePathCannotBeConvertedIsNotWalked)
{
    listing.addDirectory(L"");
    listing.addFile(L"", L"secret.txt");
    const ImportHook<decltype(&MultiByteToWideChar)> hook(
        nullptr, "MultiByteToWideChar", +[](UINT, DWORD, LPCCH, int, LPWSTR, int) -> int { return 0; });
    TestAccess::traverse(list, "C:\\dir", "C:\\");
    EXPECT_EQ(listing.patterns, Patterns());
    EXPECT_EQ(relativeNames(list), Names{"dir"});
    EXPECT_EQ(TestAccess::allFiles(list).front().attributes, 0u);
}

// Without its name the folder itself would be offered as a file.
TEST_F(FakeWalk, AFileWhoseNameCannotBeConvertedIsPassedOver)
{
    listing.addFile(kTop, L"lost");
    listing.addFile(kTop, L"a");
    const WithoutText lost(L"lost");
    EXPECT_EQ(walk(), Names{"dir\\a"});
}

// Windows has no such names. Wine has, for files that were made outside of it.
TEST_F(FakeWalk, ANameWithABackslashIsSplitThere)
{
    listing.addFile(kTop, L"a\\b");
    listing.addFile(kTop, L"x\\");
    listing.addFile(kTop, L"y");
    EXPECT_EQ(walk(), (Names{"dir\\a\\b", "dir\\x", "dir\\y"}));
    EXPECT_EQ(file(0).fileName, "b");
    EXPECT_EQ(file(1).fileName, "x");
    EXPECT_EQ(file(2).relativePath, file(1).relativePath);
}

// No file is left: the folder is what a folder without files is, and not what the lost file was.
TEST_F(FakeWalk, AFolderWhoseOnlyFileLostItsNameIsOneEntry)
{
    WIN32_FIND_DATAW entry = FakeListing::makeEntry(L"lost", FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_READONLY);
    entry.nFileSizeLow = 3;
    entry.ftCreationTime = {0xD53E8000 + 10000000, 0x019DB1DE};  // a second after the beginning of 1970
    entry.ftLastAccessTime = entry.ftCreationTime;
    entry.ftLastWriteTime = entry.ftCreationTime;
    listing.addSubdirectory(kTop, L"sub");
    listing.add(kTop + L"\\sub", entry);
    const WithoutText lost(L"lost");
    ASSERT_EQ(walk(), Names{"dir"});
    EXPECT_EQ(file(0).root, "C:");
    EXPECT_EQ(file(0).mode, 0x4000);
    EXPECT_EQ(file(0).attributes, DWORD{FILE_ATTRIBUTE_DIRECTORY});
    EXPECT_EQ(file(0).size, 0u);
    EXPECT_EQ(file(0).createTime, 0);
    EXPECT_EQ(file(0).accessTime, 0);
    EXPECT_EQ(file(0).writeTime, 0);
}

// Without the folder's path its files would be offered as those of the root.
TEST_F(FakeWalk, AFolderWhosePathCannotBeConvertedBackIsNotListed)
{
    listing.addSubdirectory(kTop, L"sub");
    listing.addFile(kTop + L"\\sub", L"secret.txt");
    listing.addFile(kTop, L"a");
    const WithoutText lost(L"C:\\dir\\sub");
    EXPECT_EQ(walk(), Names{"dir\\a"});
    EXPECT_EQ(listing.patterns, Patterns{L"C:\\dir\\*"});
}

TEST_F(FakeWalk, TheRootItselfNeverBecomesAnEntry)
{
    TestAccess::traverse(list, "C:\\dir", "C:\\dir");
    EXPECT_TRUE(TestAccess::allFiles(list).empty());
    listing.addFile(kTop, L"a");
    TestAccess::traverse(list, "C:\\dir", "C:\\dir");
    EXPECT_EQ((Names{"a"}), relativeNames(list));
}

TEST_F(FakeWalk, AnEmptyPathIsNotWalked)
{
    TestAccess::traverse(list, "", "C:");
    EXPECT_TRUE(listing.patterns.empty());
    EXPECT_TRUE(TestAccess::allFiles(list).empty());
}

TEST_F(FakeWalk, TerminatorsAtTheEndOfAPathAreRemovedForTheListing)
{
    listing.addFile(kTop, L"a");
    TestAccess::traverse(list, std::string("C:\\dir\0\0", 8), "C:");
    EXPECT_EQ((Names{"dir\\a"}), relativeNames(list));
}

TEST_F(FakeWalk, APathOfTerminatorsAloneIsLeftAsItIs)
{
    TestAccess::traverse(list, std::string(2, '\0'), "");
    EXPECT_EQ((Patterns{L""}), listing.patterns);
}

TEST_F(FakeWalk, EachDirectoryAddsToWhatTheListHolds)
{
    listing.addFile(kTop, L"a");
    listing.addDirectory(L"C:\\empty");
    TestAccess::traverse(list, "C:\\dir", "C:");
    TestAccess::traverse(list, "C:\\empty", "C:");
    EXPECT_EQ((Names{"dir\\a", "empty"}), relativeNames(list));
}

TEST_F(FakeWalk, ACancelEndsTheListingAndLooksAtOneEntryOfEachOtherDirectory)
{
    listing.addFile(kTop, L"a");
    listing.addSubdirectory(kTop, L"sub");
    listing.addFile(kTop, L"cancel");
    listing.addFile(kTop, L"never");
    listing.addFile(kTop + L"\\sub", L"behind the dots");
    listing.onNext = [this](const WIN32_FIND_DATAW& entry) {
        if (std::wcscmp(entry.cFileName, L"cancel") == 0)
            TestAccess::cancelTraverse(list) = true;
    };
    EXPECT_EQ((Names{"dir\\a"}), walk());
    EXPECT_EQ((Patterns{L"C:\\dir\\*", L"C:\\dir\\sub\\*"}), listing.patterns);
}

TEST_F(FakeWalk, TheOneEntryThatIsLookedAtCountsLikeAnyOther)
{
    listing.add(L"C:\\dir\\bare", FakeListing::makeEntry(L"first", FILE_ATTRIBUTE_ARCHIVE));
    listing.addFile(L"C:\\dir\\bare", L"second");
    TestAccess::cancelTraverse(list) = true;
    TestAccess::traverse(list, "C:\\dir\\bare", "C:");
    EXPECT_EQ((Names{"dir\\bare\\first"}), relativeNames(list));
}

TEST_F(FakeWalk, ACancelInOneSelectedDirectoryKeepsTheNextFromBeingWalked)
{
    DetailFileDescription first;
    first.root = "C:";
    first.fileName = "dir";
    first.attributes = FILE_ATTRIBUTE_DIRECTORY;
    DetailFileDescription second = first;
    second.fileName = "other";
    TestAccess::selectedFiles(list) = {first, second};
    listing.addFile(kTop, L"a");
    listing.addFile(kTop, L"cancel");
    listing.onNext = [this](const WIN32_FIND_DATAW& entry) {
        TestAccess::cancelTraverse(list) = std::wcscmp(entry.cFileName, L"cancel") == 0;
    };
    list.ExpandAllFiles(true);
    EXPECT_EQ((Names{"C:\\dir\\a"}), relativeNames(list));
    EXPECT_EQ((Patterns{L"C:\\dir\\*"}), listing.patterns);
    EXPECT_EQ(Names{"Cancel the traverse file work."}, RecordingLog::messages(kLogError));
}

TEST_F(FakeWalk, ADeepTreeNeedsNoStack)
{
    constexpr std::size_t kDepth = 3000;
    std::wstring directory = kTop;
    for (std::size_t i = 0; i < kDepth; ++i) {
        listing.addSubdirectory(directory, L"d");
        directory += L"\\d";
    }
    listing.addFile(directory, L"a");
    walk();
    ASSERT_EQ(1u, TestAccess::allFiles(list).size());
    EXPECT_EQ(std::string("dir").size() + 2 * kDepth, file(0).relativePath.size());
    EXPECT_EQ("a", file(0).fileName);
}

}  // namespace
}  // namespace sd::clip
