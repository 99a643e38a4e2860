#include "file_utilities/create_dir.h"

#include <direct.h>
#include <io.h>
#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "base/log.h"
#include "file_utilities/encoding.h"
#include "support/import_hook.h"
#include "support/journal.h"
#include "support/recording_log.h"
#include "support/temporary_folder.h"

namespace sd::clip {
namespace {

using Mkdir = decltype(&_mkdir);
using Access = decltype(&_access);

std::vector<std::string>& made()
{
    static std::vector<std::string> paths;
    return paths;
}

int refuseToMake(const char* path)
{
    made().emplace_back(path);
    return -1;
}

int pretendToMake(const char* path)
{
    made().emplace_back(path);
    return 0;
}

class CreateDir : public testing::Test {
protected:
    void SetUp() override
    {
        made().clear();
        base = WideToUtf8(folder.path());
        std::replace(base.begin(), base.end(), '\\', '/');
    }

    static bool isDirectory(const std::string& path)
    {
        const DWORD attributes = GetFileAttributesW(Utf8ToWide(path).c_str());
        return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    }

    TemporaryFolder folder;
    std::string base;  // the folder with forward slashes
};

TEST_F(CreateDir, TheOnlySeparatorIsTheForwardSlash)
{
    EXPECT_STREQ("/", gDirSeparators);
}

TEST_F(CreateDir, AnEmptyPathIsRefused)
{
    EXPECT_EQ(-1, createDir(""));
    EXPECT_EQ((std::vector<std::string>{"log 5 want create dir path:", "log 6 Path is empty."}),
              Journal::shared().entries());
}

TEST_F(CreateDir, AnExistingDirectoryIsLeftAlone)
{
    ImportHook<Mkdir> hook(nullptr, "_mkdir", &pretendToMake);
    EXPECT_EQ(0, createDir(base));
    EXPECT_TRUE(made().empty());
    EXPECT_EQ((std::vector<std::string>{"log 5 want create dir path:" + base, "log 5 Path has exsit. path:" + base}),
              Journal::shared().entries());
}

TEST_F(CreateDir, AMissingDirectoryIsCreatedInItsParent)
{
    const std::string path = base + "/y";
    EXPECT_EQ(0, createDir(path));
    EXPECT_TRUE(isDirectory(path));
    EXPECT_EQ((std::vector<std::string>{"log 5 want create dir path:" + path, "log 5 want create dir path:" + base,
                                        "log 5 Path has exsit. path:" + base, "log 5 prepare create dir path:" + path}),
              Journal::shared().entries());
}

TEST_F(CreateDir, AllMissingDirectoriesAreCreated)
{
    EXPECT_EQ(0, createDir(base + "/x/y/z"));
    EXPECT_TRUE(isDirectory(base + "/x/y/z"));
}

TEST_F(CreateDir, ASlashAtTheEndCreatesTheDirectoryAndGivesAFailure)
{
    EXPECT_EQ(-1, createDir(base + "/y/"));
    EXPECT_TRUE(isDirectory(base + "/y"));
    EXPECT_EQ(1, RecordingLog::count(kLogInfo, "prepare create dir path:" + base + "/y/"));
}

TEST_F(CreateDir, AnExistingDirectoryMayHaveASlashAtTheEnd)
{
    ASSERT_EQ(0, createDir(base + "/y"));
    EXPECT_EQ(0, createDir(base + "/y/"));
}

TEST_F(CreateDir, AMissingPathWithoutAForwardSlashIsRefusedAndEnds)
{
    ImportHook<Mkdir> hook(nullptr, "_mkdir", &pretendToMake);
    const std::string path = WideToUtf8(folder.path()) + "\\missing";
    EXPECT_EQ(-1, createDir(path));
    EXPECT_TRUE(made().empty());
    EXPECT_EQ((std::vector<std::string>{"log 5 want create dir path:" + path}), Journal::shared().entries());
}

TEST_F(CreateDir, AnExistingPathMayBeWrittenWithBackslashes)
{
    EXPECT_EQ(0, createDir(WideToUtf8(folder.path())));
}

TEST_F(CreateDir, AMissingPathBelowNothingIsRefused)
{
    EXPECT_EQ(-1, createDir("/this folder is missing"));
    EXPECT_EQ((std::vector<std::string>{"Path is empty."}), RecordingLog::messages(kLogError));
}

TEST_F(CreateDir, AFailureOfThePlatformIsTheResult)
{
    ImportHook<Mkdir> hook(nullptr, "_mkdir", &refuseToMake);
    EXPECT_EQ(-1, createDir(base + "/y"));
    EXPECT_EQ((std::vector<std::string>{base + "/y"}), made());
}

TEST_F(CreateDir, AParentThatCannotBeCreatedEndsIt)
{
    ImportHook<Mkdir> hook(nullptr, "_mkdir", &refuseToMake);
    EXPECT_EQ(-1, createDir(base + "/x/y/z"));
    EXPECT_EQ((std::vector<std::string>{base + "/x"}), made());
    EXPECT_EQ(0, RecordingLog::count(kLogInfo, "prepare create dir path:" + base + "/x/y"));
}

TEST_F(CreateDir, AnyResultOfThePlatformIsGivenBack)
{
    ImportHook<Mkdir> hook(
        nullptr, "_mkdir", +[](const char*) -> int { return 17; });
    EXPECT_EQ(17, createDir(base + "/x/y"));
}

TEST_F(CreateDir, BytesReachThePlatformUnchanged)
{
    static std::vector<std::string> asked;
    asked.clear();
    ImportHook<Access> access(
        nullptr, "_access", +[](const char* path, int mode) -> int {
            EXPECT_EQ(0, mode);
            asked.emplace_back(path);
            return asked.size() == 1 ? -1 : 0;
        });
    ImportHook<Mkdir> mkdir(nullptr, "_mkdir", &pretendToMake);

    const std::string path = "C:/\xC3\xA4/\xF0\x9F\x98\x80\xFF";
    EXPECT_EQ(0, createDir(path));
    EXPECT_EQ((std::vector<std::string>{path, "C:/\xC3\xA4"}), asked);
    EXPECT_EQ((std::vector<std::string>{path}), made());
}

TEST_F(CreateDir, RemoveFileRemovesAFileAndReportsAMissingOne)
{
    const std::string path = base + "/file";
    const HANDLE file = CreateFileW(Utf8ToWide(path).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr);
    ASSERT_NE(INVALID_HANDLE_VALUE, file);
    CloseHandle(file);

    EXPECT_EQ(0, RemoveFile(path));
    EXPECT_EQ(INVALID_FILE_ATTRIBUTES, GetFileAttributesW(Utf8ToWide(path).c_str()));
    EXPECT_EQ(-1, RemoveFile(path));
}

}  // namespace
}  // namespace sd::clip
