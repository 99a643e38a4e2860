// What the record of a local copy holds and what it does not, and when the clipboard is free again.
#include <sys/stat.h>
#include <sys/types.h>

#include <gtest/gtest.h>
#include <windows.h>

#include <shellapi.h>

#include "engine_access.h"
#include "sd/clip/clipboard_data.h"
#include "support/clipboard_owner.h"
#include "support/import_hook.h"
#include "support/journal.h"
#include "support/recording_log.h"
#include "support/temporary_folder.h"

using namespace sd::clip;

namespace {

constexpr std::int64_t kFarFuture = (std::int64_t{1} << 32) + 5;    // of the year 2106
constexpr std::int64_t kBefore1970 = -(std::int64_t{1} << 32) - 5;  // of 1833

class LocalCopy : public testing::Test {
protected:
    LocalCopy()
    {
        mEngine.SetFileClipboardSupported(true);
    }

    std::shared_ptr<ClipboardFileDataImpl> read()
    {
        return std::dynamic_pointer_cast<ClipboardFileDataImpl>(mEngine.GetClipboardData(ClipboardFormat::File));
    }

    // What the guest is told of the one file.
    void expectFarTimes()
    {
        const auto record = read();
        ASSERT_NE(record, nullptr);
        ASSERT_EQ(record->GetFiles().size(), 1u);
        const ClipfileDescription& file = record->GetFiles()[0];
        EXPECT_EQ(file.createTime, kBefore1970);
        EXPECT_EQ(file.accessTime, kFarFuture);
        EXPECT_EQ(file.writeTime, kFarFuture + 1);
    }

    ClipboardImpl& mEngine = TestAccess::makeEngine();
    TemporaryFolder mFolder;
    ClipboardOwner mOwner;
};

// The clipboard of the calling thread can't be read, so the thread does not have it open.
void expectNotOpenHere()
{
    SetLastError(ERROR_SUCCESS);
    EXPECT_EQ(::GetClipboardData(CF_HDROP), nullptr);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_CLIPBOARD_NOT_OPEN});
}

int gLooks = 0;
decltype(&FindFirstFileW) gRealFind = nullptr;
decltype(&FindNextFileW) gRealFindNext = nullptr;
decltype(&_wstat64) gRealStat = nullptr;
decltype(&GetFileAttributesW) gRealAttributes = nullptr;
decltype(&CloseClipboard) gRealClose = nullptr;
decltype(&GlobalUnlock) gRealUnlock = nullptr;

// Notes what a read gives back, in its order.
struct WatchedEnd {
    const ImportHook<decltype(&CloseClipboard)> closeHook{nullptr, "CloseClipboard", +[]() -> BOOL {
                                                              Journal::shared().add("close");
                                                              return gRealClose();
                                                          }};
    const ImportHook<decltype(&GlobalUnlock)> unlockHook{nullptr, "GlobalUnlock", +[](HGLOBAL block) -> BOOL {
                                                             Journal::shared().add("unlock");
                                                             return gRealUnlock(block);
                                                         }};
    WatchedEnd()
    {
        gRealClose = closeHook.real();
        gRealUnlock = unlockHook.real();
        Journal::shared().clear();
    }

    static std::vector<std::string> givenBack()
    {
        std::vector<std::string> given;
        for (const std::string& entry : Journal::shared().entries()) {
            if (entry.rfind("log ", 0) != 0)
                given.push_back(entry);
        }
        return given;
    }
};

const std::vector<std::string> kUnlockedThenClosed = {"unlock", "close"};

FILETIME makeFileTime(std::int64_t unixSeconds)
{
    const std::int64_t ticks = unixSeconds * 10000000 + 116444736000000000;
    return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

}  // namespace

TEST_F(LocalCopy, ItsRecordHasNoneOfTheHostsFunctions)
{
    mOwner.putDropList({mFolder.addFile(L"a.txt")});
    const auto record = read();
    ASSERT_NE(record, nullptr);
    EXPECT_FALSE(record->GetFileRequestFunc());
    EXPECT_FALSE(record->GetFileCancelFunc());
    EXPECT_FALSE(record->GetOLEClipboardPasteFunc());
    EXPECT_EQ(std::dynamic_pointer_cast<ClipboardFileDataExImpl>(record), nullptr);  // nor one that landings call
}

TEST_F(LocalCopy, TheClipboardIsFreeWhileTheListIsBuiltAndExpanded)
{
    mFolder.addFile(L"folder\\sub\\a.txt", "1");
    mOwner.putDropList({mFolder.path() + L"\\folder"});
    gLooks = 0;
    const ImportHook<decltype(&GetFileAttributesW)> attributes(
        nullptr, "GetFileAttributesW", +[](LPCWSTR path) -> DWORD {
            ++gLooks;
            expectNotOpenHere();
            return gRealAttributes(path);
        });
    const ImportHook<decltype(&FindFirstFileW)> find(
        nullptr, "FindFirstFileW", +[](LPCWSTR pattern, LPWIN32_FIND_DATAW entry) -> HANDLE {
            ++gLooks;
            expectNotOpenHere();
            return gRealFind(pattern, entry);
        });
    gRealAttributes = attributes.real();
    gRealFind = find.real();
    const auto record = read();
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(record->GetFiles().size(), 1u);
    EXPECT_EQ(gLooks, 3);  // at the copied folder itself, and into each of the two
}

TEST_F(LocalCopy, TextThatCantBeLockedIsNoneAndClosesTheClipboard)
{
    mOwner.putText(L"text");
    TestAccess::formatMap(mEngine)[ClipboardFormat::Text] = CF_UNICODETEXT;
    Journal::shared().clear();
    const ImportHook<decltype(&CloseClipboard)> close(
        nullptr, "CloseClipboard", +[]() -> BOOL {
            Journal::shared().add("CloseClipboard");
            return gRealClose();
        });
    gRealClose = close.real();
    const ImportHook<decltype(&GlobalLock)> lock(
        nullptr, "GlobalLock", +[](HGLOBAL) -> LPVOID { return nullptr; });
    EXPECT_EQ(mEngine.GetClipboardData(ClipboardFormat::Text), nullptr);
    EXPECT_FALSE(TestAccess::opened(mEngine));
    EXPECT_GE(Journal::shared().find("CloseClipboard"), 0);
    EXPECT_TRUE(RecordingLog::messages(6).empty());
}

// A block that is read belongs to the clipboard, which may free it once it is closed.
TEST_F(LocalCopy, FilesAreUnlockedBeforeTheClipboardIsClosed)
{
    mOwner.putDropList({mFolder.addFile(L"a.txt")});
    const WatchedEnd watched;
    EXPECT_NE(read(), nullptr);
    EXPECT_EQ(WatchedEnd::givenBack(), kUnlockedThenClosed);
}

TEST_F(LocalCopy, AnEmptyDropListIsUnlockedBeforeTheClipboardIsClosed)
{
    mOwner.putDropList({L"C:\\a"});
    const ImportHook<decltype(&DragQueryFileW)> query(
        nullptr, "DragQueryFileW", +[](HDROP, UINT, LPWSTR, UINT) -> UINT { return 0; });
    const WatchedEnd watched;
    EXPECT_EQ(read(), nullptr);
    EXPECT_EQ(WatchedEnd::givenBack(), kUnlockedThenClosed);
}

TEST_F(LocalCopy, TextIsUnlockedBeforeTheClipboardIsClosed)
{
    TestAccess::formatMap(mEngine)[ClipboardFormat::Text] = CF_UNICODETEXT;
    for (const wchar_t* const text : {L"text", L""}) {
        mOwner.putText(text);
        const WatchedEnd watched;
        mEngine.GetClipboardData(ClipboardFormat::Text);
        EXPECT_EQ(WatchedEnd::givenBack(), kUnlockedThenClosed);
    }
}

// No disk has to keep such times: the platform's answers are the test's.
TEST_F(LocalCopy, TimesBeyond32BitsOfAListedFileReachItsRecord)
{
    mFolder.addFile(L"folder\\a.txt", "1");
    mOwner.putDropList({mFolder.path() + L"\\folder"});
    const ImportHook<decltype(&FindNextFileW)> find(
        nullptr, "FindNextFileW", +[](HANDLE search, LPWIN32_FIND_DATAW entry) -> BOOL {
            const BOOL found = gRealFindNext(search, entry);
            entry->ftCreationTime = makeFileTime(kBefore1970);
            entry->ftLastAccessTime = makeFileTime(kFarFuture);
            entry->ftLastWriteTime = makeFileTime(kFarFuture + 1);
            return found;
        });
    gRealFindNext = find.real();
    expectFarTimes();
}

TEST_F(LocalCopy, TimesBeyond32BitsOfACopiedFileReachItsRecord)
{
    mOwner.putDropList({mFolder.addFile(L"a.txt", "1")});
    const ImportHook<decltype(&_wstat64)> stat(
        nullptr, "_wstat64", +[](const wchar_t* path, struct _stat64* status) -> int {
            const int result = gRealStat(path, status);
            status->st_ctime = kBefore1970;
            status->st_atime = kFarFuture;
            status->st_mtime = kFarFuture + 1;
            return result;
        });
    gRealStat = stat.real();
    expectFarTimes();
}
