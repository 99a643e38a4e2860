#include "file_utilities/file_description.h"

#include <sys/stat.h>
#include <sys/types.h>

#include <gtest/gtest.h>

#include <vector>

#include "base/log.h"
#include "file_utilities/detail_file_description.h"
#include "file_utilities/encoding.h"
#include "file_utilities/file_names.h"
#include "support/import_hook.h"
#include "support/recording_log.h"
#include "support/temporary_folder.h"
#include "unit/file_utilities/sample_files.h"

namespace sd::clip {
namespace {

constexpr std::uint64_t kUnixEpoch = 116444736000000000;
constexpr std::uint64_t kSecond = 10000000;

using Stat = decltype(&_wstat64);
using FindFirst = decltype(&FindFirstFileW);

FILETIME makeFileTime(std::uint64_t unixSeconds)
{
    const std::uint64_t value = kUnixEpoch + unixSeconds * kSecond;
    return {static_cast<DWORD>(value), static_cast<DWORD>(value >> 32)};
}

WIN32_FIND_DATAW makeFound(DWORD attributes)
{
    WIN32_FIND_DATAW found = {};
    found.dwFileAttributes = attributes;
    found.nFileSizeHigh = 1;
    found.nFileSizeLow = 705032704;  // with the high part 5,000,000,000
    found.ftCreationTime = makeFileTime(1001);
    found.ftLastAccessTime = makeFileTime(1002);
    found.ftLastWriteTime = makeFileTime(1003);
    return found;
}

// A description in which each number differs, to tell what stays.
DetailFileDescription makeUsed()
{
    DetailFileDescription description;
    description.root = "old root";
    description.relativePath = "old path";
    description.fileName = "old name";
    description.attributes = 1;
    description.mode = 2;
    description.size = 3;
    description.createTime = 4;
    description.accessTime = 5;
    description.writeTime = 6;
    return description;
}

void expectSizeAndTimes(const ClipfileDescription& description, std::uint64_t size, std::int64_t created,
                        std::int64_t accessed, std::int64_t written)
{
    EXPECT_EQ(size, description.size);
    EXPECT_EQ(created, description.createTime);
    EXPECT_EQ(accessed, description.accessTime);
    EXPECT_EQ(written, description.writeTime);
}

int fillStatus(struct _stat64* status, unsigned short mode)
{
    *status = {};
    status->st_mode = mode;
    status->st_size = 5000000000;
    status->st_ctime = 2001;
    status->st_atime = 2002;
    status->st_mtime = 2003;
    return 0;
}

int giveFileStatus(const wchar_t*, struct _stat64* status)
{
    return fillStatus(status, 0x81B6);
}

int giveDirectoryStatus(const wchar_t*, struct _stat64* status)
{
    return fillStatus(status, 0x41FF);
}

int failStatus(const wchar_t*, struct _stat64*)
{
    return -1;
}

std::vector<std::wstring>& askedPaths()
{
    static std::vector<std::wstring> paths;
    return paths;
}

int recordStatus(const wchar_t* path, struct _stat64* status)
{
    askedPaths().emplace_back(path);
    return fillStatus(status, 0x41FF);
}

DWORD WINAPI recordAttributes(LPCWSTR path)
{
    askedPaths().emplace_back(path);
    return 0x10;
}

HANDLE WINAPI failFindFirst(LPCWSTR, LPWIN32_FIND_DATAW)
{
    SetLastError(ERROR_ACCESS_DENIED);
    return INVALID_HANDLE_VALUE;
}

HANDLE WINAPI recordFindFirst(LPCWSTR path, LPWIN32_FIND_DATAW)
{
    askedPaths().emplace_back(path);
    SetLastError(ERROR_ACCESS_DENIED);
    return INVALID_HANDLE_VALUE;
}

int closedSearches = 0;
HANDLE const kSearch = &closedSearches;

HANDLE WINAPI findFile(LPCWSTR, LPWIN32_FIND_DATAW found)
{
    *found = makeFound(0x21);
    return kSearch;
}

HANDLE WINAPI findDirectory(LPCWSTR, LPWIN32_FIND_DATAW found)
{
    *found = makeFound(0x12);
    return kSearch;
}

BOOL WINAPI countClosed(HANDLE search)
{
    closedSearches += search == kSearch ? 1 : 1000;
    return TRUE;
}

TEST(FillFromFindData, AFileGetsSizeAndTimes)
{
    DetailFileDescription description = makeUsed();
    FillFromFindData(description, makeFound(0x21));
    EXPECT_EQ(0x8000, description.mode);
    EXPECT_EQ(0x21u, description.attributes);
    expectSizeAndTimes(description, 5000000000, 1001, 1002, 1003);
}

TEST(FillFromFindData, AllBitsOfASizeCount)
{
    WIN32_FIND_DATAW found = makeFound(0);
    found.nFileSizeHigh = 0xFEDCBA98;
    found.nFileSizeLow = 0xFFFFFFFF;
    DetailFileDescription description;
    FillFromFindData(description, found);
    EXPECT_EQ(0xFEDCBA98FFFFFFFFu, description.size);
}

TEST(FillFromFindData, ADirectoryKeepsSizeAndTimes)
{
    DetailFileDescription description = makeUsed();
    FillFromFindData(description, makeFound(0x12));
    EXPECT_EQ(0x4000, description.mode);
    EXPECT_EQ(0x12u, description.attributes);
    expectSizeAndTimes(description, 3, 4, 5, 6);
}

TEST(SetFileDescription, AskedWithFindDataItAsksNothingElse)
{
    ImportHook<Stat> stat(nullptr, "_wstat64", &recordStatus);
    ImportHook<decltype(&GetFileAttributesW)> attributes(nullptr, "GetFileAttributesW", &recordAttributes);
    ImportHook<FindFirst> findFirst(nullptr, "FindFirstFileW", &recordFindFirst);
    askedPaths().clear();

    DetailFileDescription description;
    const WIN32_FIND_DATAW found = makeFound(0x20);
    EXPECT_EQ(0u, SetFileDescription(description, "C:\\dir\\sub\\a.txt", "C:\\dir", &found));
    EXPECT_EQ("C:\\dir", description.root);
    EXPECT_EQ("sub", description.relativePath);
    EXPECT_EQ("a.txt", description.fileName);
    EXPECT_EQ(0x8000, description.mode);
    EXPECT_EQ(0x20u, description.attributes);
    expectSizeAndTimes(description, 5000000000, 1001, 1002, 1003);
    EXPECT_TRUE(askedPaths().empty());
}

TEST(SetFileDescription, AFileHasTheWholeModeOfTheRuntime)
{
    ImportHook<Stat> stat(nullptr, "_wstat64", &giveFileStatus);
    ImportHook<decltype(&GetFileAttributesW)> attributes(
        nullptr, "GetFileAttributesW", +[](LPCWSTR) -> DWORD { return 0x23; });
    DetailFileDescription description = makeUsed();
    EXPECT_EQ(0u, SetFileDescription(description, "C:\\dir\\a.txt", "C:\\dir"));
    EXPECT_EQ(0x81B6, description.mode);
    EXPECT_EQ(0x23u, description.attributes);
    expectSizeAndTimes(description, 5000000000, 2001, 2002, 2003);
}

TEST(SetFileDescription, ADirectoryKeepsSizeAndTimes)
{
    ImportHook<Stat> stat(nullptr, "_wstat64", &giveDirectoryStatus);
    ImportHook<decltype(&GetFileAttributesW)> attributes(
        nullptr, "GetFileAttributesW", +[](LPCWSTR) -> DWORD { return 0x10; });
    DetailFileDescription description = makeUsed();
    EXPECT_EQ(0u, SetFileDescription(description, "C:\\dir\\sub", "C:\\dir"));
    EXPECT_EQ(0x41FF, description.mode);
    EXPECT_EQ(0x10u, description.attributes);
    expectSizeAndTimes(description, 3, 4, 5, 6);
}

TEST(SetFileDescription, OneBitOfTheModeTellsADirectory)
{
    // A mode without the right to write, as of a read-only directory.
    ImportHook<Stat> stat(
        nullptr, "_wstat64", +[](const wchar_t*, struct _stat64* status) -> int { return fillStatus(status, 0x416D); });
    DetailFileDescription description = makeUsed();
    EXPECT_EQ(0u, SetFileDescription(description, "C:\\dir\\sub", "C:\\dir"));
    EXPECT_EQ(0x416D, description.mode);
    expectSizeAndTimes(description, 3, 4, 5, 6);
}

TEST(SetFileDescription, AttributesThatCannotBeReadAreTakenAsTheyCome)
{
    ImportHook<Stat> stat(nullptr, "_wstat64", &giveFileStatus);
    ImportHook<decltype(&GetFileAttributesW)> attributes(
        nullptr, "GetFileAttributesW", +[](LPCWSTR) -> DWORD { return INVALID_FILE_ATTRIBUTES; });
    DetailFileDescription description = makeUsed();
    EXPECT_EQ(0u, SetFileDescription(description, "C:\\dir\\a.txt", "C:\\dir"));
    EXPECT_EQ(0xFFFFFFFFu, description.attributes);
}

TEST(SetFileDescription, ARealFileIsDescribed)
{
    const TemporaryFolder folder;
    // The names need two, three and four bytes for their characters.
    const std::wstring path = folder.path() + L"\\\u00E4\u20AC\U0001F600.txt";
    makeFile(path, 1234);
    ASSERT_TRUE(SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_READONLY));

    DetailFileDescription description;
    EXPECT_EQ(0u, SetFileDescription(description, WideToUtf8(path), WideToUtf8(folder.path())));
    EXPECT_EQ("\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80.txt", description.fileName);
    EXPECT_EQ(WideToUtf8(path), GetFullPath(description));
    EXPECT_EQ(1234u, description.size);
    EXPECT_EQ(0x8000, description.mode & 0xF000);
    EXPECT_NE(0x8000, description.mode);
    EXPECT_EQ(GetFileAttributesW(path.c_str()), description.attributes);
    EXPECT_NE(0u, description.attributes & FILE_ATTRIBUTE_READONLY);
    EXPECT_GT(description.createTime, 1600000000);
    EXPECT_GT(description.accessTime, 1600000000);
    EXPECT_GT(description.writeTime, 1600000000);
    EXPECT_TRUE(SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL));
}

TEST(SetFileDescription, ARealDirectoryMayHaveBackslashesAtItsEnd)
{
    const TemporaryFolder folder;
    makeDirectory(folder.path() + L"\\sub");
    DetailFileDescription description;
    EXPECT_EQ(0u, SetFileDescription(description, WideToUtf8(folder.path()) + "\\sub\\\\", WideToUtf8(folder.path())));
    EXPECT_EQ("sub", description.fileName);
    EXPECT_EQ("", description.relativePath);
    EXPECT_EQ(0x4000, description.mode & 0xF000);
    EXPECT_NE(0u, description.attributes & FILE_ATTRIBUTE_DIRECTORY);
    expectSizeAndTimes(description, 0, 0, 0, 0);
    EXPECT_TRUE(RecordingLog::messages().empty());
}

TEST(SetFileDescription, ThePlatformIsAskedWithoutTrailingBackslashes)
{
    ImportHook<Stat> stat(nullptr, "_wstat64", &recordStatus);
    ImportHook<decltype(&GetFileAttributesW)> attributes(nullptr, "GetFileAttributesW", &recordAttributes);
    askedPaths().clear();
    DetailFileDescription description;
    EXPECT_EQ(0u, SetFileDescription(description, "C:\\dir\\\\", "C:"));
    EXPECT_EQ(0u, SetFileDescription(description, "C:\\", ""));
    EXPECT_EQ((std::vector<std::wstring>{L"C:\\dir", L"C:\\dir", L"C:\\", L"C:\\"}), askedPaths());
}

TEST(SetFileDescription, TheRootOfADriveIsADirectory)
{
    DetailFileDescription description;
    EXPECT_EQ(0u, SetFileDescription(description, "C:\\", ""));
    EXPECT_EQ("C:", description.fileName);
    EXPECT_EQ("C:", GetFullPath(description));
    EXPECT_EQ(0x4000, description.mode & 0xF000);
    EXPECT_NE(0u, description.attributes & FILE_ATTRIBUTE_DIRECTORY);
}

TEST(SetFileDescription, AFileThatIsOnlyListedIsDescribedFromTheListing)
{
    ImportHook<Stat> stat(nullptr, "_wstat64", &failStatus);
    ImportHook<FindFirst> findFirst(nullptr, "FindFirstFileW", &findFile);
    ImportHook<decltype(&FindClose)> close(nullptr, "FindClose", &countClosed);
    closedSearches = 0;
    DetailFileDescription description = makeUsed();
    EXPECT_EQ(0u, SetFileDescription(description, "C:\\dir\\a.txt", "C:\\dir"));
    EXPECT_EQ("a.txt", description.fileName);
    EXPECT_EQ(0x8000, description.mode);
    EXPECT_EQ(0x21u, description.attributes);
    expectSizeAndTimes(description, 5000000000, 1001, 1002, 1003);
    EXPECT_EQ(1, closedSearches);
    EXPECT_TRUE(RecordingLog::messages().empty());
}

TEST(SetFileDescription, ADirectoryThatIsOnlyListedKeepsSizeAndTimes)
{
    ImportHook<Stat> stat(nullptr, "_wstat64", &failStatus);
    ImportHook<FindFirst> findFirst(nullptr, "FindFirstFileW", &findDirectory);
    ImportHook<decltype(&FindClose)> close(nullptr, "FindClose", &countClosed);
    DetailFileDescription description = makeUsed();
    EXPECT_EQ(0u, SetFileDescription(description, "C:\\dir\\sub", "C:\\dir"));
    EXPECT_EQ(0x4000, description.mode);
    EXPECT_EQ(0x12u, description.attributes);
    expectSizeAndTimes(description, 3, 4, 5, 6);
}

TEST(SetFileDescription, TheListingIsAskedWithoutTrailingBackslashes)
{
    ImportHook<Stat> stat(nullptr, "_wstat64", &failStatus);
    ImportHook<FindFirst> findFirst(
        nullptr, "FindFirstFileW", +[](LPCWSTR path, LPWIN32_FIND_DATAW) -> HANDLE {
            askedPaths().emplace_back(path);
            return INVALID_HANDLE_VALUE;
        });
    askedPaths().clear();
    DetailFileDescription description;
    SetFileDescription(description, "C:\\dir\\\\", "C:");
    EXPECT_EQ((std::vector<std::wstring>{L"C:\\dir"}), askedPaths());
}

TEST(SetFileDescription, APathThatCannotBeReadIsLoggedAndLosesItsTexts)
{
    ImportHook<Stat> stat(nullptr, "_wstat64", &failStatus);
    ImportHook<FindFirst> findFirst(nullptr, "FindFirstFileW", &failFindFirst);
    ImportHook<decltype(&FindClose)> close(nullptr, "FindClose", &countClosed);
    closedSearches = 0;
    DetailFileDescription description = makeUsed();
    EXPECT_EQ(5u, SetFileDescription(description, "C:\\dir\\sub\\a.txt\\", "C:\\dir"));
    EXPECT_EQ("", description.root);
    EXPECT_EQ("", description.relativePath);
    EXPECT_EQ("", description.fileName);
    EXPECT_EQ(1u, description.attributes);
    EXPECT_EQ(2, description.mode);
    expectSizeAndTimes(description, 3, 4, 5, 6);
    EXPECT_EQ(0, closedSearches);
    EXPECT_EQ((std::vector<std::string>{
                  "C:\\dir\\sub\\a.txt\\ is not be found or does not have perssion to access. error code 5"}),
              RecordingLog::messages());
    EXPECT_EQ(kLogError, RecordingLog::lines().at(0).level);
}

TEST(SetFileDescription, AMissingFileGivesThePlatformsCode)
{
    const TemporaryFolder folder;
    const std::string path = WideToUtf8(folder.path()) + "\\missing";
    DetailFileDescription description;
    EXPECT_EQ(DWORD{ERROR_FILE_NOT_FOUND}, SetFileDescription(description, path, ""));
    EXPECT_EQ(
        1, RecordingLog::count(kLogError, path + " is not be found or does not have perssion to access. error code 2"));
}

TEST(SetFileDescription, AnEmptyPathCannotBeRead)
{
    DetailFileDescription description;
    EXPECT_NE(0u, SetFileDescription(description, "", ""));
}

}  // namespace
}  // namespace sd::clip
