// Preparations that fail: each step once, and the cache directories that no host should give.
#include <gtest/gtest.h>
#include <windows.h>

#include <filesystem>
#include <fstream>

#include "file_utilities/encoding.h"
#include "renderer_access.h"
#include "support/clipboard_owner.h"
#include "support/failing_allocation.h"
#include "support/import_hook.h"
#include "support/platform_function.h"
#include "support/recording_log.h"
#include "support/temporary_folder.h"

using namespace sd::clip;

namespace {

const char kBegins[] = "log 5 Start watching file by file clipboard lazy renderer.";
const char kDone[] = "log 5 Start watching file by file clipboard lazy renderer done.";
const auto kGivenHandle = reinterpret_cast<HANDLE>(0x7FFFFFF4);  // no handle of this process

FileClipboardLazyRenderer* gRenderer = nullptr;
HANDLE gGiven = nullptr;
std::wstring gCreatedPath;
DWORD gCloseError = ERROR_SUCCESS;

bool gReachedClipboard = false;

decltype(&OpenClipboard) gRealOpen = nullptr;
const auto gRealClose = findInKernel32<decltype(&CloseHandle)>("CloseHandle");
decltype(&EmptyClipboard) gRealEmpty = nullptr;
const auto gRealToNarrow = findInKernel32<decltype(&WideCharToMultiByte)>("WideCharToMultiByte");

std::string nameHandle(HANDLE handle)
{
    return handle == INVALID_HANDLE_VALUE ? "invalid" : handle == kGivenHandle ? "given" : "other";
}

HANDLE WINAPI giveHandle(LPCWSTR path, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES security, DWORD disposition,
                         DWORD flags, HANDLE templateFile)
{
    EXPECT_EQ(access, GENERIC_WRITE);
    EXPECT_EQ(share, 0u);
    EXPECT_EQ(security, nullptr);
    EXPECT_EQ(disposition, DWORD{CREATE_ALWAYS});
    EXPECT_EQ(flags, DWORD{FILE_ATTRIBUTE_NORMAL});
    EXPECT_EQ(templateFile, nullptr);
    gCreatedPath = path;
    Journal::shared().add("CreateFileW");
    SetLastError(ERROR_WRITE_PROTECT);
    return gGiven;
}

// Answers for the handles that the test gave; threads of the runtime close others.
BOOL WINAPI closeGiven(HANDLE handle)
{
    if (handle != kGivenHandle && handle != INVALID_HANDLE_VALUE)
        return gRealClose(handle);
    Journal::shared().add("CloseHandle " + nameHandle(handle));
    SetLastError(gCloseError);
    return gCloseError == ERROR_SUCCESS;
}

BOOL WINAPI noteEmptying()
{
    Journal::shared().add("EmptyClipboard");
    return gRealEmpty();
}

int WINAPI convertLeavingAnError(UINT page, DWORD flags, LPCWCH text, int length, LPSTR output, int capacity,
                                 LPCCH unknown, LPBOOL usedUnknown)
{
    const int converted = gRealToNarrow(page, flags, text, length, output, capacity, unknown, usedUnknown);
    SetLastError(99);
    return converted;
}

class LazyPreparationFailure : public testing::Test {
protected:
    LazyPreparationFailure()
    {
        gRenderer = &mRenderer;
        gGiven = kGivenHandle;
        gCloseError = ERROR_SUCCESS;
        gCreatedPath.clear();
        gRealEmpty = mEmpty.real();
        mFolder.addFolder(L"cache");
        mOwner.putText(L"before");
        setCache(mFolder.utf8Path() + "\\cache\\");
    }

    void setCache(const std::string& directory)
    {
        TestAccess::setCacheDirectory(mRenderer, directory);
    }

    bool prepare()
    {
        Journal::shared().clear();
        return mRenderer.PrepareFileLazyRendering(makeGuestRecord({"report.txt"}));
    }

    // @return whether there were so many allocations
    bool prepareWithFailing(int which, const std::shared_ptr<ClipboardFileDataEx>& record)
    {
        const FailingAllocation allocation(which);
        try {
            mRenderer.PrepareFileLazyRendering(record);
        } catch (const std::bad_alloc&) {
            return true;
        }
        return allocation.failed();
    }

    void expectDisarmed()
    {
        EXPECT_EQ(TestAccess::armedData(mRenderer), nullptr);
        EXPECT_EQ(TestAccess::suffix(mRenderer), "");
        EXPECT_FALSE(TestAccess::pendingOwnCopy(mRenderer));
        EXPECT_FALSE(TestAccess::isLocked(mRenderer));
    }

    TemporaryFolder mFolder;
    ClipboardOwner mOwner;
    FileClipboardLazyRenderer mRenderer;
    const ImportHook<decltype(&CloseHandle)> mClose{nullptr, "CloseHandle", &closeGiven};
    const ImportHook<decltype(&EmptyClipboard)> mEmpty{nullptr, "EmptyClipboard", &noteEmptying};
};

struct GivenFile {
    const ImportHook<decltype(&CreateFileW)> hook{nullptr, "CreateFileW", &giveHandle};
};

}  // namespace

TEST_F(LazyPreparationFailure, ADirectoryThatCantBeMadeEndsIt)
{
    const ImportHook<decltype(&CreateDirectoryW)> make(
        nullptr, "CreateDirectoryW", +[](LPCWSTR, LPSECURITY_ATTRIBUTES security) -> BOOL {
            EXPECT_EQ(security, nullptr);
            SetLastError(ERROR_ACCESS_DENIED);
            return FALSE;
        });
    const GivenFile file;
    EXPECT_FALSE(prepare());
    EXPECT_EQ(Journal::shared().entries(),
              (JournalEntries{kBegins, "log 7 Could not create cache directory(5): " + mFolder.utf8Path() + "\\cache\\",
                              "EmptyClipboard"}));
    expectDisarmed();
}

TEST_F(LazyPreparationFailure, OnlyTheLastComponentOfTheDirectoryIsMade)
{
    setCache(mFolder.utf8Path() + "\\missing\\cache\\");
    EXPECT_FALSE(prepare());
    EXPECT_EQ(Journal::shared().entries(),
              (JournalEntries{kBegins, "log 7 Failed to get the first file in the directory. Error: 3",
                              "log 6 Unable to clean " + mFolder.utf8Path() + "\\missing\\cache\\",
                              "log 7 Could not create cache directory(3): " + mFolder.utf8Path() + "\\missing\\cache\\",
                              "EmptyClipboard"}));
    EXPECT_FALSE(fileExists(mFolder.path() + L"\\missing"));
}

// The cache directory alone would be offered, as a cut one.
TEST_F(LazyPreparationFailure, ANameThatCantBeConvertedEndsIt)
{
    const ImportHook<decltype(&MultiByteToWideChar)> convert(
        nullptr, "MultiByteToWideChar", +[](UINT page, DWORD flags, LPCCH text, int size, LPWSTR out, int room) -> int {
            static const auto real = findInKernel32<decltype(&MultiByteToWideChar)>("MultiByteToWideChar");
            if (std::string(text, static_cast<std::size_t>(size)).find("report.txt.") != 0)
                return real(page, flags, text, size, out, room);
            SetLastError(ERROR_NO_UNICODE_TRANSLATION);
            return 0;
        });
    const GivenFile file;
    EXPECT_FALSE(prepare());
    const auto entries = Journal::shared().entries();
    ASSERT_EQ(entries.size(), 3u);
    EXPECT_EQ(
        entries[1].find("log 7 Could not create the sparce file(1113): " + mFolder.utf8Path() + "\\cache\\report.txt."),
        0u)
        << entries[1];
    EXPECT_EQ(entries[2], "EmptyClipboard");
    expectDisarmed();
}

TEST_F(LazyPreparationFailure, AFileThatComesAsZeroCantBeCreated)
{
    gGiven = nullptr;
    const ImportHook<decltype(&WideCharToMultiByte)> convert(nullptr, "WideCharToMultiByte", &convertLeavingAnError);
    const GivenFile file;
    EXPECT_FALSE(prepare());
    const std::string path = WideToUtf8(gCreatedPath);
    EXPECT_EQ(Journal::shared().entries(),
              (JournalEntries{kBegins, "CreateFileW", "log 7 Could not create the sparce file(19): " + path,
                              "EmptyClipboard"}));
    EXPECT_EQ(path.find(mFolder.utf8Path() + "\\cache\\report.txt."), 0u) << path;
    expectDisarmed();
}

TEST_F(LazyPreparationFailure, AFileThatCantBeClosedEndsItAndIsClosedOnceMore)
{
    gCloseError = ERROR_INVALID_HANDLE;
    const ImportHook<decltype(&WideCharToMultiByte)> convert(nullptr, "WideCharToMultiByte", &convertLeavingAnError);
    const GivenFile file;
    EXPECT_FALSE(prepare());
    EXPECT_EQ(Journal::shared().entries(),
              (JournalEntries{kBegins, "CreateFileW", "CloseHandle given",
                              "log 7 Failed to close sparce file(6): " + WideToUtf8(gCreatedPath), "CloseHandle given",
                              "EmptyClipboard"}));
    expectDisarmed();
}

TEST_F(LazyPreparationFailure, AnInvalidHandleShowsInItsCloseWhereThatFails)
{
    gGiven = INVALID_HANDLE_VALUE;
    gCloseError = ERROR_INVALID_HANDLE;
    const GivenFile file;
    EXPECT_FALSE(prepare());
    EXPECT_EQ(Journal::shared().entries(),
              (JournalEntries{kBegins, "CreateFileW", "CloseHandle invalid",
                              "log 7 Failed to close sparce file(6): " + WideToUtf8(gCreatedPath),
                              "CloseHandle invalid", "EmptyClipboard"}));
    expectDisarmed();
}

TEST_F(LazyPreparationFailure, AnInvalidHandleThatClosesPassesForAFile)
{
    gGiven = INVALID_HANDLE_VALUE;
    const GivenFile file;
    EXPECT_TRUE(prepare());
    EXPECT_EQ(Journal::shared().entries(),
              (JournalEntries{kBegins, "CreateFileW", "CloseHandle invalid", "EmptyClipboard", kDone}));
    EXPECT_NE(TestAccess::armedData(mRenderer), nullptr);
    EXPECT_TRUE(IsClipboardFormatAvailable(CF_HDROP));
    EXPECT_TRUE(listNames(mFolder.path() + L"\\cache").empty());
}

TEST_F(LazyPreparationFailure, AFailedPublicationDisarmsAndClosesTheFileASecondTime)
{
    EXPECT_TRUE(prepare());  // armed before
    const ImportHook<decltype(&OpenClipboard)> open(
        nullptr, "OpenClipboard", +[](HWND owner) -> BOOL {
            EXPECT_EQ(owner, nullptr);
            // the change that the write causes may be looked at before the write has returned
            EXPECT_TRUE(TestAccess::pendingOwnCopy(*gRenderer));
            EXPECT_TRUE(TestAccess::isLocked(*gRenderer));
            Journal::shared().add("OpenClipboard");
            SetLastError(ERROR_ACCESS_DENIED);
            return FALSE;
        });
    const GivenFile file;
    EXPECT_FALSE(prepare());
    EXPECT_EQ(Journal::shared().entries(),
              (JournalEntries{kBegins, "CreateFileW", "CloseHandle given", "OpenClipboard",
                              "log 7 Failed to add file info to clipboard through file clipboard lazy renderer",
                              "CloseHandle given", "EmptyClipboard"}));
    expectDisarmed();
    EXPECT_TRUE(TestAccess::hasPromise(mRenderer));               // of the success before
    EXPECT_TRUE(listNames(mFolder.path() + L"\\cache").empty());  // whose placeholder is gone
}

TEST_F(LazyPreparationFailure, AFailedPublicationLeavesThePlaceholderToTheNextCleaning)
{
    {
        const ImportHook<decltype(&OpenClipboard)> open(
            nullptr, "OpenClipboard", +[](HWND) -> BOOL { return FALSE; });
        EXPECT_FALSE(prepare());
    }
    const auto left = listNames(mFolder.path() + L"\\cache");
    ASSERT_EQ(left.size(), 1u);
    EXPECT_TRUE(prepare());
    EXPECT_FALSE(fileExists(mFolder.path() + L"\\cache\\" + left[0]));
}

// The mark would swallow the user's next copy.
TEST_F(LazyPreparationFailure, MemoryThatRunsOutBeforeTheWriteLeavesNoMark)
{
    const ImportHook<decltype(&OpenClipboard)> open(
        nullptr, "OpenClipboard", +[](HWND owner) -> BOOL {
            gReachedClipboard = true;
            return gRealOpen(owner);
        });
    gRealOpen = open.real();
    int failures = 0;
    for (bool hasFailed = true; hasFailed;) {
        const auto record = makeGuestRecord({"a name that no string holds in itself.txt"});
        gReachedClipboard = false;
        TestAccess::pendingOwnCopy(mRenderer) = false;
        hasFailed = prepareWithFailing(failures + 1, record);
        failures += hasFailed ? 1 : 0;
        ASSERT_FALSE(TestAccess::isLocked(mRenderer));
        ASSERT_TRUE(gReachedClipboard || !TestAccess::pendingOwnCopy(mRenderer)) << "allocation " << failures;
    }
    EXPECT_GT(failures, 5);
}

TEST_F(LazyPreparationFailure, ADirectoryThatIsAFileIsLeftAlone)
{
    const std::wstring file = mFolder.addFile(L"file", "contents");
    setCache(mFolder.utf8Path() + "\\file\\");
    gCloseError = ERROR_INVALID_HANDLE;  // the placeholder can't be created
    EXPECT_FALSE(prepare());
    EXPECT_TRUE(RecordingLog::hasLine(7, "Failed to get the first file in the directory. Error: "));
    EXPECT_EQ(RecordingLog::count(6, "Unable to clean " + mFolder.utf8Path() + "\\file\\"), 1);
    expectDisarmed();
    EXPECT_EQ(listNames(mFolder.path()), (std::vector<std::wstring>{L"cache", L"file"}));
    std::string contents(20, '\0');
    std::ifstream(std::filesystem::path(file)) >> contents;
    EXPECT_EQ(contents, "contents");
}

TEST_F(LazyPreparationFailure, ADirectoryOnAMissingDriveEndsIt)
{
    setCache("Q:\\cache\\");
    EXPECT_FALSE(CreateDirectoryW(L"Q:\\cache\\", nullptr));
    const std::string error = std::to_string(GetLastError());  // 3, and 2 under Wine
    EXPECT_FALSE(prepare());
    EXPECT_EQ(Journal::shared().entries(),
              (JournalEntries{kBegins, "log 7 Failed to get the first file in the directory. Error: 3",
                              "log 6 Unable to clean Q:\\cache\\",
                              "log 7 Could not create cache directory(" + error + "): Q:\\cache\\", "EmptyClipboard"}));
    expectDisarmed();
}

TEST_F(LazyPreparationFailure, WithoutADirectoryNothingIsDeletedAndNothingMade)
{
    setCache("");
    const GivenFile file;
    EXPECT_FALSE(prepare());
    EXPECT_EQ(
        Journal::shared().entries(),
        (JournalEntries{kBegins, "log 7 Failed to get the first file in the directory. Error: 123",
                        "log 6 Unable to clean ", "log 7 Could not create cache directory(3): ", "EmptyClipboard"}));
    expectDisarmed();
}

TEST_F(LazyPreparationFailure, ADirectoryWhoseFilesCantBeDeletedIsUsedAllTheSame)
{
    const std::wstring kept = mFolder.addFile(L"cache\\kept.txt");
    ASSERT_TRUE(SetFileAttributesW(kept.c_str(), FILE_ATTRIBUTE_READONLY));
    EXPECT_TRUE(prepare());
    EXPECT_EQ(
        Journal::shared().entries(),
        (JournalEntries{kBegins, "log 7 Failed to delete file: " + mFolder.utf8Path() + "\\cache\\\\kept.txt, Error: 5",
                        "EmptyClipboard", kDone}));
    EXPECT_EQ(listNames(mFolder.path() + L"\\cache").size(), 2u);
}
