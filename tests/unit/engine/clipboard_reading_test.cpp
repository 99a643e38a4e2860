#include <gtest/gtest.h>
#include <windows.h>

#include <shellapi.h>

#include <algorithm>
#include <atomic>
#include <thread>

#include "engine_access.h"
#include "sd/clip/clipboard_data.h"
#include "support/clipboard_owner.h"
#include "support/import_hook.h"
#include "support/journal.h"
#include "support/recording_listener.h"
#include "support/recording_log.h"
#include "support/temporary_folder.h"

using namespace sd::clip;

namespace {

class ClipboardReading : public testing::Test {
protected:
    ClipboardReading()
    {
        mEngine.SetFileClipboardSupported(true);
    }

    std::vector<ClipfileDescription> readFiles()
    {
        const auto record = mEngine.GetClipboardData(ClipboardFormat::File);
        EXPECT_NE(record, nullptr);
        const auto files = std::dynamic_pointer_cast<ClipboardFileDataImpl>(record);
        return files ? files->GetFiles() : std::vector<ClipfileDescription>();
    }

    // As if the format map had a row for text or image.
    std::shared_ptr<ClipboardData> readAs(ClipboardFormat format, UINT platformFormat)
    {
        TestAccess::formatMap(mEngine)[format] = platformFormat;
        return mEngine.GetClipboardData(format);
    }

    // The failing read gave null, closed the clipboard before it logged, and left nothing open or locked.
    void expectFailure(const std::shared_ptr<ClipboardData>& record, const std::string& message)
    {
        EXPECT_EQ(record, nullptr);
        EXPECT_FALSE(TestAccess::opened(mEngine));
        EXPECT_EQ(RecordingLog::messages(6), std::vector<std::string>{message});
        const int closed = Journal::shared().find("CloseClipboard");
        ASSERT_GE(closed, 0);
        EXPECT_LT(closed, Journal::shared().find("log 6 " + message));
        EXPECT_EQ(TestAccess::clipData(mEngine), nullptr);
    }

    ClipboardImpl& mEngine = TestAccess::makeEngine();
    TemporaryFolder mFolder;
    ClipboardOwner mOwner;
};

decltype(&CloseClipboard) gRealClose = nullptr;

// Notes the closing in the journal.
struct WatchedClose {
    ImportHook<decltype(&CloseClipboard)> hook{nullptr, "CloseClipboard", +[]() -> BOOL {
                                                   Journal::shared().add("CloseClipboard");
                                                   return gRealClose();
                                               }};
    WatchedClose()
    {
        gRealClose = hook.real();
    }
};

std::atomic<int> gUnlocks{0};

}  // namespace

TEST_F(ClipboardReading, ACopiedFileBecomesARecord)
{
    const std::wstring path = mFolder.addFile(L"a.txt", "hello");
    mOwner.putDropList({path});
    const auto record = mEngine.GetClipboardData(ClipboardFormat::File);
    const auto files = std::dynamic_pointer_cast<ClipboardFileDataImpl>(record);
    ASSERT_NE(files, nullptr);
    EXPECT_EQ(std::dynamic_pointer_cast<ClipboardFileDataExImpl>(record), nullptr);
    ASSERT_EQ(files->GetFiles().size(), 1u);
    const ClipfileDescription& file = files->GetFiles()[0];
    EXPECT_EQ(file.root, mFolder.utf8Path());
    EXPECT_EQ(file.relativePath, "");
    EXPECT_EQ(file.fileName, "a.txt");
    EXPECT_EQ(file.size, 5u);
    EXPECT_FALSE(files->GetFileRequestFunc());
    EXPECT_EQ(TestAccess::clipData(mEngine), record);
    EXPECT_FALSE(TestAccess::opened(mEngine));
}

TEST_F(ClipboardReading, AReadIsLoggedStepByStep)
{
    mOwner.putDropList({mFolder.addFile(L"a.txt", "hello"), mFolder.addFile(L"b.txt", "")});
    mEngine.GetClipboardData(ClipboardFormat::File);
    const std::vector<LogLine> lines = RecordingLog::lines();
    ASSERT_EQ(lines.size(), 5u);
    for (const LogLine& line : lines)
        EXPECT_EQ(line.level, 5) << line.message;
    const std::string engine = printAddress(&mEngine);
    EXPECT_EQ(lines[0].message, "clipformat:6, cfformat:15 from " + engine);
    EXPECT_EQ(lines[1].message, "try to open clipboard from " + engine);
    EXPECT_EQ(lines[2].message.find("Open clipboard from " + engine), 0u);
    EXPECT_EQ(lines[3].message, "Close clipboard from " + engine);
    const LogLine& copied = lines[4];
    EXPECT_EQ(copied.level, 5);
    EXPECT_EQ(copied.format,
              "%s %s(%d): %s:%d %s copy %d files to guest os, file[%d] : root(%s) relativePath(%s) fileName(%s) "
              "attributes(%ld) mode(%d), size(%lld) ...");
    EXPECT_EQ(copied.message.find("copy 2 files to guest os, file[0] : root(" + mFolder.utf8Path() +
                                  ") relativePath() fileName(a.txt) attributes(32) mode("),
              0u)
        << copied.message;
    EXPECT_NE(copied.message.find("), size(5) ..."), std::string::npos);
}

TEST_F(ClipboardReading, ACopiedFolderYieldsTheEntriesOfItsExpansion)
{
    mFolder.addFile(L"folder\\a.txt", "1");
    mFolder.addFile(L"folder\\sub\\b.txt", "22");
    mOwner.putDropList({mFolder.path() + L"\\folder"});
    const auto files = readFiles();
    ASSERT_EQ(files.size(), 2u);
    EXPECT_EQ(files[0].relativePath + "|" + files[0].fileName, "folder|a.txt");
    EXPECT_EQ(files[1].relativePath + "|" + files[1].fileName, "folder\\sub|b.txt");
}

TEST_F(ClipboardReading, InFullPostProcessModeACopiedFolderStaysOneEntry)
{
    mFolder.addFile(L"folder\\a.txt", "1");
    mOwner.putDropList({mFolder.path() + L"\\folder"});
    mEngine.SetSupportFileClipboardFullPostProcessMode(true);
    const auto files = readFiles();
    ASSERT_EQ(files.size(), 1u);
    EXPECT_EQ(files[0].fileName, "folder");
    EXPECT_NE(files[0].mode & 0x4000, 0);
}

// The host may set it while the paths are looked at, which can take long.
TEST_F(ClipboardReading, TheModeIsAskedForWhenThePathsHaveBeenLookedAt)
{
    static ClipboardImpl* engine = nullptr;
    static decltype(&GetFileAttributesW) real = nullptr;
    engine = &mEngine;
    mFolder.addFile(L"folder\\a.txt", "1");
    mOwner.putDropList({mFolder.path() + L"\\folder"});
    const ImportHook<decltype(&GetFileAttributesW)> hook(
        nullptr, "GetFileAttributesW", +[](LPCWSTR path) -> DWORD {
            engine->SetSupportFileClipboardFullPostProcessMode(true);
            return real(path);
        });
    real = hook.real();
    const auto files = readFiles();
    ASSERT_EQ(files.size(), 1u);
    EXPECT_EQ(files[0].fileName, "folder");
}

TEST_F(ClipboardReading, ADropListWhoseFilesHaveAllVanishedYieldsAnEmptyRecord)
{
    mOwner.putDropList({mFolder.path() + L"\\gone.txt"});
    EXPECT_TRUE(readFiles().empty());
    EXPECT_NE(TestAccess::clipData(mEngine), nullptr);
    EXPECT_FALSE(RecordingLog::hasLine(5, "copy "));
}

TEST_F(ClipboardReading, NamesOutsideTheBasicPlaneArrive)
{
    mOwner.putDropList({mFolder.addFile(L"\u00FC\U0001F600.txt", "1")});
    const auto files = readFiles();
    ASSERT_EQ(files.size(), 1u);
    EXPECT_EQ(files[0].fileName, "\xC3\xBC\xF0\x9F\x98\x80.txt");
}

TEST_F(ClipboardReading, APathOf5000CharactersIsKeptWhole)
{
    const std::wstring path = L"C:\\" + std::wstring(4997, L'x');
    mOwner.putDropList({path});
    const auto paths = TestAccess::filesFromClipboard(mEngine);
    ASSERT_NE(paths, nullptr);
    ASSERT_EQ(paths->size(), 1u);
    EXPECT_EQ(paths->front(), "C:\\" + std::string(4997, 'x') + '\0');  // the terminator counts
}

TEST_F(ClipboardReading, EachTextFromTheClipboardCountsItsTerminator)
{
    mOwner.putDropList({L"C:\\a", L"C:\\b"});
    const auto paths = TestAccess::filesFromClipboard(mEngine);
    ASSERT_NE(paths, nullptr);
    EXPECT_EQ(*paths, (std::vector<std::string>{std::string("C:\\a\0", 5), std::string("C:\\b\0", 5)}));
}

TEST_F(ClipboardReading, APathThatThePlatformDoesNotGiveIsLeftOut)
{
    static decltype(&DragQueryFileW) real = nullptr;
    mOwner.putDropList({L"C:\\a", L"C:\\b"});
    const ImportHook<decltype(&DragQueryFileW)> hook(
        nullptr, "DragQueryFileW", +[](HDROP drop, UINT index, LPWSTR buffer, UINT size) -> UINT {
            return index == 0 && buffer != nullptr ? 0 : real(drop, index, buffer, size);
        });
    real = hook.real();
    const auto paths = TestAccess::filesFromClipboard(mEngine);
    ASSERT_NE(paths, nullptr);
    EXPECT_EQ(*paths, std::vector<std::string>{std::string("C:\\b\0", 5)});
}

TEST_F(ClipboardReading, TheRecordIsNullWhenThePlatformGivesNoPathAtAll)
{
    mOwner.putDropList({L"C:\\a"});
    const ImportHook<decltype(&DragQueryFileW)> hook(
        nullptr, "DragQueryFileW",
        +[](HDROP, UINT index, LPWSTR, UINT) -> UINT { return index == 0xFFFFFFFF ? 1 : 0; });
    EXPECT_EQ(mEngine.GetClipboardData(ClipboardFormat::File), nullptr);
    EXPECT_EQ(TestAccess::clipData(mEngine), nullptr);
}

TEST_F(ClipboardReading, FilesAskedForOnAClipboardWithTextGiveNull)
{
    const WatchedClose watched;
    mOwner.putText(L"text");
    Journal::shared().clear();
    const auto record = mEngine.GetClipboardData(ClipboardFormat::File);
    ASSERT_EQ(RecordingLog::messages(6).size(), 1u);
    EXPECT_EQ(RecordingLog::messages(6)[0].find("Get clipboard data failed! error code "), 0u);
    expectFailure(record, RecordingLog::messages(6)[0]);
}

TEST_F(ClipboardReading, AMissingDropListIsLoggedWithItsErrorAfterTheClipboardIsClosed)
{
    const WatchedClose watched;
    const ImportHook<decltype(&::GetClipboardData)> hook(
        nullptr, "GetClipboardData", +[](UINT format) -> HANDLE {
            EXPECT_EQ(format, 15u);
            SetLastError(1418);
            return nullptr;
        });
    expectFailure(mEngine.GetClipboardData(ClipboardFormat::File), "Get clipboard data failed! error code 1418");
}

TEST_F(ClipboardReading, ADropListThatCantBeLockedGivesNull)
{
    mOwner.putDropList({L"C:\\a"});
    const WatchedClose watched;
    const ImportHook<decltype(&GlobalLock)> hook(
        nullptr, "GlobalLock", +[](HGLOBAL) -> LPVOID { return nullptr; });
    expectFailure(mEngine.GetClipboardData(ClipboardFormat::File), "GlobalLock error!");
}

TEST_F(ClipboardReading, AnEmptyDropListIsUnlockedAndGivesNull)
{
    static decltype(&GlobalUnlock) realUnlock = nullptr;
    mOwner.putDropList({L"C:\\a"});
    const WatchedClose watched;
    const ImportHook<decltype(&DragQueryFileW)> hook(
        nullptr, "DragQueryFileW", +[](HDROP, UINT, LPWSTR, UINT) -> UINT { return 0; });
    const ImportHook<decltype(&GlobalUnlock)> unlock(
        nullptr, "GlobalUnlock", +[](HGLOBAL handle) -> BOOL {
            ++gUnlocks;
            return realUnlock(handle);
        });
    realUnlock = unlock.real();
    gUnlocks = 0;
    expectFailure(mEngine.GetClipboardData(ClipboardFormat::File), "DragQueryFile error, Files == 0!");
    EXPECT_EQ(gUnlocks, 1);
}

TEST_F(ClipboardReading, ABusyClipboardGivesNullAfterTheMessageOfOpen)
{
    const ImportHook<decltype(&OpenClipboard)> hook(
        nullptr, "OpenClipboard", +[](HWND) -> BOOL {
            SetLastError(5);
            return FALSE;
        });
    EXPECT_EQ(mEngine.GetClipboardData(ClipboardFormat::File), nullptr);
    ASSERT_EQ(RecordingLog::messages(6).size(), 1u);
    EXPECT_EQ(RecordingLog::messages(6)[0].find("Open clipboard fail from "), 0u);
    EXPECT_FALSE(RecordingLog::hasLine(5, "Close clipboard"));

    RecordingLog::clear();
    EXPECT_EQ(readAs(ClipboardFormat::Text, CF_UNICODETEXT), nullptr);
    EXPECT_EQ(RecordingLog::messages(6).size(), 1u);
}

TEST_F(ClipboardReading, FilesAreNotReadWhileTheGuestTakesNone)
{
    mOwner.putDropList({mFolder.addFile(L"a.txt")});
    const auto listener = std::make_shared<RecordingListener>();
    mEngine.SetListener(listener);
    mEngine.SetFileClipboardSupported(false);
    EXPECT_EQ(mEngine.GetClipboardData(ClipboardFormat::File), nullptr);
    EXPECT_EQ(RecordingLog::messages(5).at(1), "Qsp file clipboard disabled");
    EXPECT_TRUE(listener->events().empty());
    EXPECT_TRUE(listener->reports().empty());
    EXPECT_FALSE(RecordingLog::hasLine(5, "try to open clipboard from "));
}

TEST_F(ClipboardReading, TextAskedForGivesNullThoughTextIsThere)
{
    mOwner.putText(L"text");
    EXPECT_EQ(mEngine.GetClipboardData(ClipboardFormat::Text), nullptr);
    ASSERT_EQ(RecordingLog::lines().size(), 1u);
    EXPECT_EQ(RecordingLog::lines()[0].message.find("clipformat:1, cfformat:0 from "), 0u);
}

TEST_F(ClipboardReading, AnUnknownFormatStaysInTheMapWithZero)
{
    EXPECT_EQ(mEngine.GetClipboardData(static_cast<ClipboardFormat>(77)), nullptr);
    EXPECT_EQ(TestAccess::formatMap(mEngine).at(static_cast<ClipboardFormat>(77)), 0u);
    EXPECT_EQ(mEngine.GetClipboardData(static_cast<ClipboardFormat>(-1)), nullptr);
    EXPECT_EQ(mEngine.GetClipboardData(ClipboardFormat()), nullptr);
}

TEST_F(ClipboardReading, TheTextBranchReadsUnicodeTextForEachOfItsFormats)
{
    mOwner.putText(L"gr\u00FC\u00DF \U0001F600");
    for (const UINT platformFormat : {CF_TEXT, CF_OEMTEXT, CF_UNICODETEXT, CF_DSPTEXT}) {
        const auto record =
            std::dynamic_pointer_cast<ClipboardTextDataImpl>(readAs(ClipboardFormat::Text, platformFormat));
        ASSERT_NE(record, nullptr) << platformFormat;
        EXPECT_EQ(record->GetText(), "gr\xC3\xBC\xC3\x9F \xF0\x9F\x98\x80");
        EXPECT_FALSE(TestAccess::opened(mEngine));
    }
    EXPECT_TRUE(RecordingLog::hasLine(5, "try to open clipboard from "));
    EXPECT_EQ(TestAccess::clipData(mEngine), nullptr);  // only files are kept
}

TEST_F(ClipboardReading, TextThatIsEmptyOrMissingGivesNullAndClosesTheClipboard)
{
    mOwner.putText(L"");
    EXPECT_EQ(readAs(ClipboardFormat::Text, CF_UNICODETEXT), nullptr);
    EXPECT_FALSE(TestAccess::opened(mEngine));
    mOwner.putNothing();
    EXPECT_EQ(readAs(ClipboardFormat::Text, CF_UNICODETEXT), nullptr);
    EXPECT_FALSE(TestAccess::opened(mEngine));
    EXPECT_TRUE(RecordingLog::messages(6).empty());
}

TEST_F(ClipboardReading, TextWithoutATerminatorEndsWithItsBlock)
{
    // The platform may put a terminator into a text that lacks it: here it stands behind the block that is told.
    mOwner.putText(L"abcdefg");
    const ImportHook<decltype(&GlobalSize)> size(
        nullptr, "GlobalSize", +[](HGLOBAL) -> SIZE_T { return 3 * sizeof(wchar_t); });
    const auto record = std::dynamic_pointer_cast<ClipboardTextDataImpl>(readAs(ClipboardFormat::Text, CF_UNICODETEXT));
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(record->GetText(), "abc");
}

TEST_F(ClipboardReading, TheImageBranchGivesAnEmptyRecordWithoutOpeningTheClipboard)
{
    for (const UINT platformFormat : {CF_BITMAP, CF_DIB, CF_DIBV5, CF_DSPBITMAP}) {
        const auto record = readAs(ClipboardFormat::Image, platformFormat);
        ASSERT_NE(std::dynamic_pointer_cast<ClipboardImageDataImpl>(record), nullptr) << platformFormat;
    }
    EXPECT_FALSE(RecordingLog::hasLine(5, "try to open clipboard from "));
    EXPECT_EQ(readAs(ClipboardFormat::Image, CF_METAFILEPICT), nullptr);
}

TEST_F(ClipboardReading, ReadsOnSeveralThreadsAtOnceSucceedOrFindItBusyAndLeaveItClosed)
{
    mOwner.putDropList({mFolder.addFile(L"a.txt", "hello")});
    std::atomic<int> complete{0};
    std::atomic<int> busy{0};  // a reader that waits too long for the others finds the clipboard busy
    std::vector<std::thread> readers;
    for (int i = 0; i < 4; ++i) {
        readers.emplace_back([&] {
            for (int k = 0; k < 25; ++k) {
                const auto record =
                    std::dynamic_pointer_cast<ClipboardFileDataImpl>(mEngine.GetClipboardData(ClipboardFormat::File));
                complete += record && record->GetFiles().size() == 1 ? 1 : 0;
                busy += record == nullptr ? 1 : 0;
            }
        });
    }
    for (std::thread& reader : readers)
        reader.join();
    EXPECT_EQ(complete + busy, 100);
    EXPECT_GT(complete, 50);
    EXPECT_EQ(busy, static_cast<int>(RecordingLog::messages(6).size()));
    EXPECT_FALSE(TestAccess::opened(mEngine));
    mOwner.putNothing();  // would fail if a reader had left it open
}

TEST_F(ClipboardReading, AReadThatWaitsTooLongForAnotherFindsTheClipboardBusy)
{
    // As where the clipboard's owner renders late, and is a thread of the host that reads itself meanwhile.
    static std::atomic<bool> reading{false};
    static std::atomic<bool> mayGoOn{false};
    const ImportHook<decltype(&::GetClipboardData)> hook(
        nullptr, "GetClipboardData", +[](UINT) -> HANDLE {
            reading = true;
            while (!mayGoOn)
                Sleep(1);
            return nullptr;
        });
    std::thread first([this] { mEngine.GetClipboardData(ClipboardFormat::File); });
    while (!reading)
        Sleep(1);
    RecordingLog::clear();
    EXPECT_EQ(mEngine.GetClipboardData(ClipboardFormat::File), nullptr);
    EXPECT_EQ(RecordingLog::messages(6),
              std::vector<std::string>{"Open clipboard fail from " + printAddress(&mEngine) + ". error:5"});
    mayGoOn = true;
    first.join();
    EXPECT_FALSE(TestAccess::opened(mEngine));
}
