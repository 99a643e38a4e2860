// A copy that another program makes on the real clipboard, as it arrives at a host through the real DLL.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <mutex>
#include <regex>
#include <string>

#include "dll_host.h"
#include "example_support/utf8_arguments.h"
#include "support/child_process.h"
#include "support/clipboard_owner.h"
#include "support/import_hook.h"
#include "support/recording_log.h"
#include "support/temporary_folder.h"
#include "support/test_roles.h"

using namespace sd::clip;
namespace fs = std::filesystem;

namespace {

const std::vector<ClipboardFormat> kFiles = {ClipboardFormat::File};
const std::vector<ClipboardFormat> kNothing;

// ---- Roles of the second process ----

// Copies COUNT different folders in a row, as fast as it can: PREFIX1, PREFIX2 and so on.
const TestRole burstRole("burst", [](const std::vector<std::string>& arguments) {
    ClipboardOwner owner;
    for (int i = 1; i <= std::stoi(arguments.at(1)); ++i)
        owner.putDropList({toUtf16(arguments.at(0)) + std::to_wstring(i)});
    return 0;
});

constexpr DWORD kHangLimit = 60000;  // milliseconds

// Holds the clipboard open, with a window, until it is told to let go; tells when it has it.
const TestRole holdRole("hold", [](const std::vector<std::string>&) {
    const HANDLE held = OpenEventW(EVENT_MODIFY_STATE, FALSE, L"clipboard-held");
    const HANDLE letGo = OpenEventW(SYNCHRONIZE, FALSE, L"clipboard-let-go");
    ClipboardOwner owner;
    owner.open();
    SetEvent(held);
    const DWORD told = WaitForSingleObject(letGo, kHangLimit);
    owner.close();
    return told == WAIT_OBJECT_0 ? 0 : 1;
});

// ---- Helpers ----

std::string relativeName(const ClipfileDescription& file)
{
    return file.relativePath.empty() ? file.fileName : file.relativePath + "\\" + file.fileName;
}

std::map<std::string, ClipfileDescription> byName(const std::vector<ClipfileDescription>& files)
{
    std::map<std::string, ClipfileDescription> result;
    for (const ClipfileDescription& file : files)
        result[relativeName(file)] = file;
    return result;
}

std::int64_t writeTimeOf(const std::wstring& path)
{
    WIN32_FILE_ATTRIBUTE_DATA data = {};
    EXPECT_TRUE(GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data));
    const std::int64_t ticks =
        (std::int64_t{data.ftLastWriteTime.dwHighDateTime} << 32) | data.ftLastWriteTime.dwLowDateTime;
    return (ticks - 116444736000000000) / 10000000;
}

void makeLargeFile(const std::wstring& path, std::int64_t size)
{
    const HANDLE file =
        CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    ASSERT_NE(file, INVALID_HANDLE_VALUE);
    LARGE_INTEGER end;
    end.QuadPart = size;
    ASSERT_TRUE(SetFilePointerEx(file, end, nullptr, FILE_BEGIN));
    ASSERT_TRUE(SetEndOfFile(file));
    CloseHandle(file);
}

// Another process that holds the clipboard. Constructed when it has it.
class ClipboardHolder {
public:
    ClipboardHolder() : mChild(ChildProcess::inRole(L"hold"))
    {
        EXPECT_EQ(WaitForSingleObject(mHeld, kHangLimit), WAIT_OBJECT_0);
    }
    ~ClipboardHolder()
    {
        letGo();
        CloseHandle(mHeld);
        CloseHandle(mLetGo);
    }
    ClipboardHolder(const ClipboardHolder&) = delete;
    ClipboardHolder& operator=(const ClipboardHolder&) = delete;

    // The clipboard is free afterwards.
    void letGo()
    {
        SetEvent(mLetGo);
        EXPECT_EQ(mChild.waitForExit(kHangLimit), 0u);
    }

private:
    const HANDLE mHeld = CreateEventW(nullptr, TRUE, FALSE, L"clipboard-held");
    const HANDLE mLetGo = CreateEventW(nullptr, TRUE, FALSE, L"clipboard-let-go");
    ChildProcess mChild;
};

// The library's attempts to open the clipboard on this thread. After so many that failed the holder lets go.
class OpenAttempts {
public:
    OpenAttempts(ClipboardHolder& holder, int failuresBeforeLetGo)
    {
        sThread = GetCurrentThreadId();
        sLeft = failuresBeforeLetGo;
        sHolder = &holder;
    }

private:
    static BOOL WINAPI open(HWND owner)
    {
        const BOOL opened = OpenClipboard(owner);
        const DWORD error = GetLastError();
        if (GetCurrentThreadId() == sThread && !opened && --sLeft == 0)
            sHolder->letGo();
        SetLastError(error);
        return opened;
    }

    static inline DWORD sThread = 0;
    static inline int sLeft = 0;
    static inline ClipboardHolder* sHolder = nullptr;
    const ImportHook<decltype(&OpenClipboard)> mHook{GetModuleHandleW(L"md-clipboard.dll"), "OpenClipboard", &open};
};

class LocalCopy : public testing::Test {
protected:
    void SetUp() override
    {
        RecordingLog::clear();
    }

    DllHost& mHost = DllHost::shared();
    TemporaryFolder mFolder;
};

}  // namespace

TEST_F(LocalCopy, ATreeOf2000FilesArrivesWhole)
{
    const std::wstring names[] = {L"plain.txt", L"gr\u00FC\u00DFe.txt", L"\u4F60\u597D.txt", L"smile \U0001F600.txt",
                                  L".hidden",   L"with space.bin"};
    std::map<std::string, std::wstring> expected;  // relative name to path
    for (int i = 0; i < 2000; ++i) {
        std::wstring relative = L"tree\\d" + std::to_wstring(i % 7);
        if (i % 3 == 0)
            relative += L"\\nested \u00E9\\deeper";
        relative += L"\\" + std::to_wstring(i) + L" " + names[i % 6];
        const std::wstring path = mFolder.addFile(relative, std::string(static_cast<std::size_t>(i % 5) * 100, 'x'));
        if (i % 10 == 0)
            SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_HIDDEN);
        expected[toUtf8(relative)] = path;
    }
    mHost.copy({mFolder.path() + L"\\tree"});
    EXPECT_EQ(mHost.listener().reports().back(), kFiles);

    const auto received = mHost.receive();
    ASSERT_EQ(received.size(), 2000u);
    const auto files = byName(received);
    ASSERT_EQ(files.size(), 2000u);
    for (const auto& [name, path] : expected) {
        ASSERT_EQ(files.count(name), 1u) << name;
        const ClipfileDescription& file = files.at(name);
        EXPECT_EQ(file.root, mFolder.utf8Path());
        EXPECT_EQ(file.size, fs::file_size(path)) << name;
        EXPECT_EQ(file.attributes, GetFileAttributesW(path.c_str())) << name;
        EXPECT_EQ(file.writeTime, writeTimeOf(path)) << name;
        EXPECT_EQ(file.mode, 0x8000) << name;
    }
    EXPECT_TRUE(RecordingLog::hasLine(5, "copy 2000 files to guest os, file[0] : root("));
}

TEST_F(LocalCopy, SeveralSelectedPathsArriveWithTheirParentAsRoot)
{
    mHost.copy({mFolder.addFile(L"one.txt", "1"), mFolder.addFile(L"two.txt", "22"),
                fs::path(mFolder.addFile(L"folder\\three.txt", "333")).parent_path().wstring()});
    const auto files = byName(mHost.receive());
    ASSERT_EQ(files.size(), 3u);
    EXPECT_EQ(files.at("one.txt").size, 1u);
    EXPECT_EQ(files.at("two.txt").size, 2u);
    EXPECT_EQ(files.at("folder\\three.txt").size, 3u);
    EXPECT_EQ(files.at("folder\\three.txt").root, mFolder.utf8Path());
}

TEST_F(LocalCopy, APathOfMoreThan260CharactersInsideASelectedFolderArrives)
{
    std::wstring relative = L"selected";
    mFolder.addFolder(relative);
    while (relative.size() < 400) {
        relative += L"\\" + std::wstring(60, L'd');
        ASSERT_TRUE(CreateDirectoryW((L"\\\\?\\" + mFolder.path() + L"\\" + relative).c_str(), nullptr));
    }
    std::ofstream(fs::path(L"\\\\?\\" + mFolder.path() + L"\\" + relative + L"\\deep.txt")) << "12345";
    mHost.copy({mFolder.path() + L"\\selected"});
    const auto files = mHost.receive();
    ASSERT_EQ(files.size(), 1u);
    EXPECT_EQ(relativeName(files[0]), toUtf8(relative + L"\\deep.txt"));
    EXPECT_EQ(files[0].size, 5u);
}

TEST_F(LocalCopy, AFileOfFiveGigabytesHasItsSizeSelectedAndInAFolder)
{
    const std::wstring folder = mFolder.addFolder(L"folder");
    makeLargeFile(folder + L"\\large.bin", 5000000000);
    mHost.copy({folder + L"\\large.bin"});
    auto files = mHost.receive();
    ASSERT_EQ(files.size(), 1u);
    EXPECT_EQ(files[0].size, 5000000000u);

    mHost.copy({folder});
    files = mHost.receive();
    ASSERT_EQ(files.size(), 1u);
    EXPECT_EQ(files[0].size, 5000000000u);
}

TEST_F(LocalCopy, ABurstOf50ChangesEndsWithTheLastOneReported)
{
    for (int i = 1; i <= 50; ++i)
        mFolder.addFolder(L"f" + std::to_wstring(i));
    // Reads at each report, as a host does, and keeps what the last one gave.
    const auto listener = std::make_shared<RecordingListener>();
    std::mutex mutex;
    std::string lastName;
    listener->duringFormats = [&](const std::vector<ClipboardFormat>& formats) {
        const std::vector<ClipfileDescription> files =
            formats == kFiles ? mHost.receive() : std::vector<ClipfileDescription>();
        std::lock_guard<std::mutex> lock(mutex);
        lastName = files.empty() ? "" : files[0].fileName;
    };
    mHost.clipboard().SetListener(listener);
    ChildProcess burst = ChildProcess::inRole(L"burst", {mFolder.path() + L"\\f", L"50"});
    ASSERT_EQ(burst.waitForExit(), 0u);
    ASSERT_TRUE(listener->waitForFiles());
    Sleep(500);
    mHost.listenAgain();
    EXPECT_LE(listener->reports().size(), 100u);
    EXPECT_EQ(listener->reports().back(), kFiles);
    std::lock_guard<std::mutex> lock(mutex);
    EXPECT_EQ(lastName, "f50");
}

TEST_F(LocalCopy, AClipboardThatAnotherProgramLetsGoBeforeTheTenthAttemptIsOpened)
{
    ClipboardHolder holder;
    const OpenAttempts attempts(holder, 9);
    EXPECT_TRUE(mHost.clipboard().Open());
    const std::string message = RecordingLog::firstLine(5, "Open clipboard from ").message;
    EXPECT_NE(message.find("attempts = 9"), std::string::npos) << message;
    mHost.clipboard().Close();
}

TEST_F(LocalCopy, AClipboardThatAnotherProgramHoldsLongerIsGivenUp)
{
    ClipboardHolder holder;
    const OpenAttempts attempts(holder, 11);
    EXPECT_EQ(mHost.clipboard().GetClipboardData(ClipboardFormat::File), nullptr);
    EXPECT_TRUE(RecordingLog::hasLine(6, "Open clipboard fail from "));
    EXPECT_FALSE(RecordingLog::hasLine(6, "GlobalLock error!"));
    mHost.clipboard().Close();
    const std::string message = RecordingLog::firstLine(5, "Close clipboard from ").message;
    EXPECT_NE(message.find(" is already done"), std::string::npos) << message;
}

TEST_F(LocalCopy, TextIsReportedAsNothingForTheGuest)
{
    mHost.copy({L"--text", L"hello"});
    EXPECT_EQ(mHost.listener().reports().back(), kNothing);
    EXPECT_TRUE(mHost.listener().events().empty());
    EXPECT_EQ(mHost.clipboard().GetClipboardData(ClipboardFormat::File), nullptr);
    EXPECT_TRUE(RecordingLog::hasLine(6, "Get clipboard data failed! error code "));
}

TEST_F(LocalCopy, ABitmapIsReportedAsNothingForTheGuest)
{
    mHost.copy({L"--bitmap"});
    EXPECT_EQ(mHost.listener().reports().back(), kNothing);
    EXPECT_TRUE(mHost.listener().events().empty());
}

TEST_F(LocalCopy, FilesBesideABitmapAreIgnoredWithTheirEvent)
{
    mHost.copy({L"--bitmap", mFolder.addFile(L"a.txt")});
    EXPECT_EQ(mHost.listener().reports().back(), kNothing);
    ASSERT_FALSE(mHost.listener().events().empty());
    const RecordedEvent event = mHost.listener().events().back();
    EXPECT_EQ(event.operation, "clipboardFileCopy");
    EXPECT_EQ(event.message, "client copy file when pic copy at same time, ignore");
    EXPECT_EQ(event.result, "sucess");
}

TEST_F(LocalCopy, FilesAreIgnoredWithTheirEventWhileTheGuestTakesNone)
{
    mHost.clipboard().SetFileClipboardSupported(false);
    mHost.copy({mFolder.addFile(L"a.txt")});
    mHost.clipboard().SetFileClipboardSupported(true);
    EXPECT_EQ(mHost.listener().reports().back(), kNothing);
    ASSERT_FALSE(mHost.listener().events().empty());
    EXPECT_EQ(mHost.listener().events().back().message, "client copy file but guest not support");
    EXPECT_FALSE(RecordingLog::hasLine(5, "try to open clipboard"));
}

TEST_F(LocalCopy, AFileThatVanishesBeforeItIsReadIsLeftOut)
{
    const std::wstring gone = mFolder.addFile(L"gone.txt");
    mHost.copy({mFolder.addFile(L"stays.txt"), gone});
    DeleteFileW(gone.c_str());
    const auto files = mHost.receive();
    ASSERT_EQ(files.size(), 1u);
    EXPECT_EQ(files[0].fileName, "stays.txt");
    EXPECT_EQ(RecordingLog::count(6, "File " + toUtf8(gone) + " access failed! error code 2"), 1);
}

TEST_F(LocalCopy, AnEmptyFolderArrivesAsOneDirectory)
{
    mHost.copy({mFolder.addFolder(L"empty")});
    const auto files = mHost.receive();
    ASSERT_EQ(files.size(), 1u);
    EXPECT_EQ(files[0].fileName, "empty");
    EXPECT_EQ(files[0].mode, 0x4000);
    EXPECT_EQ(files[0].size, 0u);
}

// A host of its own process, so that the two seconds begin with its Init.
TEST(FirstReport, ComesAboutTwoSecondsAfterInitWithNoActionOfTheUser)
{
    TemporaryFolder folder;
    ClipboardOwner().putDropList({folder.addFile(L"waiting.txt", "12345")});
    ChildProcess host(L"clip-host.exe", {L"--lists", L"1", L"--seconds", L"20"});
    ASSERT_TRUE(host.waitForOutput("listening"));
    const auto begun = std::chrono::steady_clock::now();
    ASSERT_TRUE(host.waitForOutput("waiting.txt"));
    const auto took = std::chrono::steady_clock::now() - begun;
    EXPECT_GE(took, std::chrono::milliseconds(1500));
    EXPECT_LE(took, std::chrono::milliseconds(8000));
    EXPECT_EQ(host.waitForExit(), 0u);
}

TEST(HostProcess, ReportsWhatCopyProcessCopies)
{
    TemporaryFolder folder;
    ClipboardOwner().putNothing();
    ChildProcess host(L"clip-host.exe", {L"--lists", L"1", L"--seconds", L"20"});
    ASSERT_TRUE(host.waitForOutput("listening"));
    ChildProcess copy(L"clip-copy.exe", {folder.addFile(L"gr\u00FC\u00DFe.txt", "hello")});
    EXPECT_EQ(copy.waitForExit(), 0u);
    EXPECT_EQ(host.waitForExit(), 0u) << host.output();
    EXPECT_NE(host.output().find("gr\xC3\xBC\xC3\x9F"
                                 "e.txt"),
              std::string::npos)
        << host.output();
    EXPECT_NE(host.output().find("total: files 1, directories 0, bytes 5"), std::string::npos) << host.output();
}

TEST(HostProcess, PrintsEachEventWithItsArguments)
{
    TemporaryFolder folder;
    ClipboardOwner().putNothing();
    ChildProcess host(L"clip-host.exe", {L"--no-files", L"--seconds", L"4"});
    ASSERT_TRUE(host.waitForOutput("listening"));
    ChildProcess copy(L"clip-copy.exe", {folder.addFile(L"a.txt", "hello")});
    EXPECT_EQ(copy.waitForExit(), 0u);
    EXPECT_TRUE(host.waitForOutput("client copy file but guest not support")) << host.output();
    EXPECT_NE(host.output().find("event: operation=\"clipboardFileCopy\""), std::string::npos) << host.output();
    EXPECT_NE(host.output().find("formats: none"), std::string::npos) << host.output();
}

// The stand-in's lines: time, level, thread, tag, text. Those below level 6 come with --verbose only.
TEST(HostProcess, ShowsTheLogBelowErrorsWithVerboseOnly)
{
    const std::string line = R"(\d\d:\d\d:\d\d\.\d\d\d 5 [0-9a-f]{4,8} clipboard \S.* Init end\.)";
    ChildProcess verbose(L"clip-host.exe", {L"--verbose", L"--seconds", L"1"});
    verbose.waitForExit();
    EXPECT_TRUE(std::regex_search(verbose.output(), std::regex(line))) << verbose.output();
    ChildProcess quiet(L"clip-host.exe", {L"--seconds", L"1"});
    quiet.waitForExit();
    EXPECT_FALSE(std::regex_search(quiet.output(), std::regex(" 5 [0-9a-f]+ clipboard"))) << quiet.output();
}
