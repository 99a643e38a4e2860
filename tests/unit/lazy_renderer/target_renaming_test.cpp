// Renaming a landed file, which no flow does so far.
#include <gtest/gtest.h>
#include <windows.h>

#include "landing_target.h"
#include "renderer_access.h"
#include "support/recording_log.h"
#include "support/temporary_folder.h"

using namespace sd::clip;

namespace {

using Names = std::vector<std::wstring>;

int gFailingMoves = 0;
int gLookups = 0;
DWORD gLookupError = ERROR_SUCCESS;

// Moves nothing; that many attempts fail.
struct InventedMove {
    explicit InventedMove(int failing)
    {
        gFailingMoves = failing;
    }
    const ImportHook<decltype(&MoveFileExW)> hook{
        nullptr, "MoveFileExW", +[](LPCWSTR source, LPCWSTR target, DWORD flags) -> BOOL {
            EXPECT_EQ(flags, 0u);
            Journal::shared().add("MoveFileExW " + WideToUtf8(source) + " " + WideToUtf8(target));
            SetLastError(ERROR_SHARING_VIOLATION);
            return gFailingMoves-- <= 0;
        }};
};

class TargetRenaming : public testing::Test {
protected:
    std::wstring addFile(const std::wstring& name, const std::string& contents = "")
    {
        return mFolder.addFile(name, contents);
    }
    std::string utf8(const std::string& name) const
    {
        return mFolder.utf8Path() + "\\" + name;
    }
    Names names() const
    {
        return listNames(mFolder.path());
    }

    TemporaryFolder mFolder;
};

}  // namespace

TEST_F(TargetRenaming, AFreeNameIsTakenStepByStep)
{
    const std::wstring source = addFile(L"a.txt.12345678");
    std::string name = "a.txt";
    const InventedTarget desktop;
    EXPECT_TRUE(TestAccess::renameTarget(source, name));
    EXPECT_EQ(name, "a.txt");
    EXPECT_EQ(names(), Names{L"a.txt"});
    EXPECT_EQ(
        Journal::shared().entries(),
        (JournalEntries{"log 5 Rename from " + utf8("a.txt.12345678"), "log 5 Rename file to a.txt",
                        "log 5 Move " + utf8("a.txt.12345678") + " to " + utf8("a.txt"), "log 5 File renamed: 1",
                        "SHChangeNotify 4 5 " + utf8("a.txt.12345678"), "SHChangeNotify 2 5 " + utf8("a.txt"),
                        "SHChangeNotify 4096 5 " + utf8("a.txt.12345678"), "SHChangeNotify 4096 5 " + utf8("a.txt")}));
}

TEST_F(TargetRenaming, ANameThatIsTakenTwiceGetsItsSuffixTwice)
{
    const std::wstring source = addFile(L"source", "new");
    addFile(L"a.txt", "old");
    addFile(L"a(2).txt", "older");
    std::string name = "a.txt";
    const InventedTarget desktop;
    EXPECT_TRUE(TestAccess::renameTarget(source, name));
    EXPECT_EQ(name, "a(2)(2).txt");
    EXPECT_EQ(names(), (Names{L"a(2)(2).txt", L"a(2).txt", L"a.txt"}));
    JournalEntries entries = Journal::shared().entries();
    ASSERT_GE(entries.size(), 6u);
    entries.resize(6);
    EXPECT_EQ(entries,
              (JournalEntries{"log 5 Rename from " + utf8("source"), "log 5 Rename file to a.txt",
                              "log 5 Rename file already exists " + utf8("a.txt") + ", append extra suffix",
                              "log 5 Rename file already exists " + utf8("a(2).txt") + ", append extra suffix",
                              "log 5 Move " + utf8("source") + " to " + utf8("a(2)(2).txt"), "log 5 File renamed: 1"}));
}

TEST_F(TargetRenaming, ANameWithoutADotGetsItsSuffixAtTheEnd)
{
    const std::wstring source = addFile(L"source");
    addFile(L"a");
    std::string name = "a";
    const InventedTarget desktop;
    EXPECT_TRUE(TestAccess::renameTarget(source, name));
    EXPECT_EQ(name, "a(2)");
    EXPECT_EQ(names(), (Names{L"a", L"a(2)"}));
}

TEST_F(TargetRenaming, OnlyTheLastDotCountsAndAFirstOneToo)
{
    const std::wstring source = addFile(L"source");
    addFile(L"a.tar.gz");
    addFile(L".hidden");
    std::string name = "a.tar.gz";
    const InventedTarget desktop;
    EXPECT_TRUE(TestAccess::renameTarget(source, name));
    EXPECT_EQ(name, "a.tar(2).gz");
    name = ".hidden";
    EXPECT_TRUE(TestAccess::renameTarget(addFile(L"source"), name));
    EXPECT_EQ(name, "(2).hidden");
}

TEST_F(TargetRenaming, AFolderOfTheNameIsInTheWayToo)
{
    const std::wstring source = addFile(L"source");
    mFolder.addFolder(L"a.txt");
    std::string name = "a.txt";
    const InventedTarget desktop;
    EXPECT_TRUE(TestAccess::renameTarget(source, name));
    EXPECT_EQ(names(), (Names{L"a(2).txt", L"a.txt"}));
}

TEST_F(TargetRenaming, NamesOutsideAsciiArrive)
{
    const std::wstring source = addFile(L"source");
    addFile(L"\u00FC.txt");
    std::string name = "\xC3\xBC.txt";
    const InventedTarget desktop;
    EXPECT_TRUE(TestAccess::renameTarget(source, name));
    EXPECT_EQ(name, "\xC3\xBC(2).txt");
    EXPECT_TRUE(fileExists(mFolder.path() + L"\\\u00FC(2).txt"));
}

TEST_F(TargetRenaming, AMoveThatFailsIsTriedSixTimesWithFivePauses)
{
    const std::string source = "C:\\no\\such\\a.12345678";
    const std::string target = "C:\\no\\such\\a";
    const std::string attempt = "MoveFileExW " + source + " " + target;
    const std::string move = source + " to " + target;
    const std::string retry = "log 5 Move file " + move + " failed, error code 32, wait a while and retry";
    for (int failing = 0; failing < 8; ++failing) {
        const InventedTarget desktop;
        const InventedMove moves(failing);
        Journal::shared().clear();
        std::string name = "a";
        EXPECT_EQ(TestAccess::renameTarget(Utf8ToWide(source), name), failing < 6);
        JournalEntries expected = {"log 5 Rename from " + source, "log 5 Rename file to a", "log 5 Move " + move};
        for (int i = 0; i < failing && i < 5; ++i)
            expected.insert(expected.end(), {attempt, retry, "Sleep 400"});
        expected.push_back(attempt);
        expected.push_back(failing < 6 ? "log 5 File renamed: 1" : "log 5 File renamed: 0");
        if (failing < 6) {
            expected.insert(expected.end(), {"SHChangeNotify 4 5 " + source, "SHChangeNotify 2 5 " + target,
                                             "SHChangeNotify 4096 5 " + source, "SHChangeNotify 4096 5 " + target});
        }
        EXPECT_EQ(Journal::shared().entries(), expected) << failing;
    }
}

TEST_F(TargetRenaming, AMissingSourceIsAFailureThatTheDesktopIsNotToldOf)
{
    std::string name = "a";
    const InventedTarget desktop;
    EXPECT_FALSE(TestAccess::renameTarget(mFolder.path() + L"\\missing", name));
    EXPECT_EQ(RecordingLog::count(5, "Move file " + utf8("missing") + " to " + utf8("a") +
                                         " failed, error code 2, wait a while and retry"),
              5);
    EXPECT_EQ(Journal::shared().find("SHChangeNotify"), -1);
}

TEST_F(TargetRenaming, APathExistsUnlessThePlatformSaysThatItDoesNot)
{
    EXPECT_TRUE(TestAccess::pathExists(addFile(L"a")));
    EXPECT_TRUE(TestAccess::pathExists(mFolder.path()));
    EXPECT_FALSE(TestAccess::pathExists(mFolder.path() + L"\\missing"));
    EXPECT_FALSE(TestAccess::pathExists(mFolder.path() + L"\\missing\\a"));
    for (const DWORD error : {ERROR_ACCESS_DENIED, ERROR_INVALID_NAME, ERROR_NOT_READY, ERROR_SUCCESS}) {
        gLookupError = error;
        const ImportHook<decltype(&GetFileAttributesW)> look(
            nullptr, "GetFileAttributesW", +[](LPCWSTR) -> DWORD {
                SetLastError(gLookupError);
                return INVALID_FILE_ATTRIBUTES;
            });
        EXPECT_TRUE(TestAccess::pathExists(L"C:\\a")) << error;
    }
}

TEST_F(TargetRenaming, WhatCantBeLookedAtKeepsTheSuffixComingWhileThatLasts)
{
    gLookups = 0;
    const ImportHook<decltype(&GetFileAttributesW)> look(
        nullptr, "GetFileAttributesW", +[](LPCWSTR) -> DWORD {
            SetLastError(++gLookups <= 100 ? ERROR_ACCESS_DENIED : ERROR_FILE_NOT_FOUND);
            return INVALID_FILE_ATTRIBUTES;
        });
    const InventedTarget desktop;
    const InventedMove move(0);
    std::string name = "a.txt";
    EXPECT_TRUE(TestAccess::renameTarget(L"C:\\source", name));
    EXPECT_EQ(gLookups, 101);
    std::string expected = "a";
    for (int i = 0; i < 100; ++i)
        expected += "(2)";
    EXPECT_EQ(name, expected + ".txt");
}
