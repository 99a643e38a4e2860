// What a cleaning deletes, and that it never runs wild.
#include <gtest/gtest.h>
#include <windows.h>

#include <optional>

#include "data_object/clip_data_object.h"
#include "file_utilities/encoding.h"
#include "renderer_access.h"
#include "support/import_hook.h"
#include "support/platform_function.h"
#include "support/recording_log.h"
#include "support/temporary_folder.h"

using namespace sd::clip;

namespace {

using Messages = std::vector<std::string>;

struct ListedEntry {
    const wchar_t* name;
    DWORD attributes;
};

const auto kSearch = reinterpret_cast<HANDLE>(0x5EA2C4);

std::vector<ListedEntry> gListed;
std::size_t gNext = 0;
DWORD gFindError = ERROR_NO_MORE_FILES;  // at the end of the list
DWORD gDeleteError = ERROR_SUCCESS;
const auto gRealToNarrow = findInKernel32<decltype(&WideCharToMultiByte)>("WideCharToMultiByte");

BOOL giveNext(WIN32_FIND_DATAW* entry)
{
    if (gNext == gListed.size()) {
        SetLastError(gFindError);
        return FALSE;
    }
    *entry = {};
    wcscpy_s(entry->cFileName, gListed[gNext].name);
    entry->dwFileAttributes = gListed[gNext].attributes;
    ++gNext;
    return TRUE;
}

// A directory that the test invents, and a journal of what is done to it.
struct InventedDirectory {
    explicit InventedDirectory(std::vector<ListedEntry> entries)
    {
        gListed = std::move(entries);
        gNext = 0;
        gFindError = ERROR_NO_MORE_FILES;
        gDeleteError = ERROR_SUCCESS;
    }

    const ImportHook<decltype(&FindFirstFileW)> first{
        nullptr, "FindFirstFileW", +[](LPCWSTR pattern, LPWIN32_FIND_DATAW entry) -> HANDLE {
            Journal::shared().add("FindFirstFileW " + WideToUtf8(pattern));
            return giveNext(entry) ? kSearch : INVALID_HANDLE_VALUE;
        }};
    const ImportHook<decltype(&FindNextFileW)> next{nullptr, "FindNextFileW",
                                                    +[](HANDLE search, LPWIN32_FIND_DATAW entry) -> BOOL {
                                                        EXPECT_EQ(search, kSearch);
                                                        return giveNext(entry);
                                                    }};
    const ImportHook<decltype(&FindClose)> close{nullptr, "FindClose", +[](HANDLE search) -> BOOL {
                                                     EXPECT_EQ(search, kSearch);
                                                     Journal::shared().add("FindClose");
                                                     SetLastError(ERROR_SUCCESS);
                                                     return TRUE;
                                                 }};
    const ImportHook<decltype(&DeleteFileW)> remove{nullptr, "DeleteFileW", +[](LPCWSTR path) -> BOOL {
                                                        Journal::shared().add("DeleteFileW " + WideToUtf8(path));
                                                        SetLastError(gDeleteError);
                                                        return gDeleteError == ERROR_SUCCESS;
                                                    }};
};

int WINAPI convertLeavingAnError(UINT page, DWORD flags, LPCWCH text, int length, LPSTR output, int capacity,
                                 LPCCH unknown, LPBOOL usedUnknown)
{
    const int converted = gRealToNarrow(page, flags, text, length, output, capacity, unknown, usedUnknown);
    SetLastError(99);
    return converted;
}

// A list with one file, whose data object lives.
class StandingFile {
public:
    explicit StandingFile(const std::string& name)
    {
        ClipfileDescription file;
        file.fileName = name;
        const auto record = ClipboardFileData::Create();
        record->SetFiles({file});
        mObject->SetClipboardData(record);
    }
    ~StandingFile()
    {
        mObject->Release();
    }
    StandingFile(const StandingFile&) = delete;
    StandingFile& operator=(const StandingFile&) = delete;

private:
    ClipDataObject* const mObject = new ClipDataObject;
};

// Refused as a directory that can't be opened, without a look at it.
void expectRefused(const std::wstring& directory)
{
    const InventedDirectory invented({{L"precious.txt", FILE_ATTRIBUTE_NORMAL}});
    Journal::shared().clear();
    EXPECT_FALSE(TestAccess::clean(directory)) << WideToUtf8(directory);
    EXPECT_EQ(Journal::shared().entries(),
              (JournalEntries{"log 7 Failed to get the first file in the directory. Error: 123"}))
        << WideToUtf8(directory);
}

}  // namespace

TEST(CacheCleaning, FilesOfEveryKindGoAndFoldersStay)
{
    const TemporaryFolder folder;
    folder.addFile(L"a.txt", "a");
    folder.addFile(L"without extension");
    folder.addFile(L"\u00FC\U0001F600.bin", "b");
    folder.addFile(L".hidden");
    folder.addFile(L"...three");
    const std::wstring hidden = folder.addFile(L"hidden.txt");
    ASSERT_TRUE(SetFileAttributesW(hidden.c_str(), FILE_ATTRIBUTE_HIDDEN));
    folder.addFile(L"sub\\kept.txt", "kept");
    folder.addFolder(L"empty");
    EXPECT_TRUE(TestAccess::clean(folder.path()));
    EXPECT_EQ(listNames(folder.path()), (std::vector<std::wstring>{L"empty", L"sub"}));
    EXPECT_EQ(listNames(folder.path() + L"\\sub"), std::vector<std::wstring>{L"kept.txt"});
    EXPECT_TRUE(RecordingLog::messages().empty());
}

TEST(CacheCleaning, ASeparatorAtTheEndOfEitherKindIsNoMatter)
{
    for (const wchar_t* const ending : {L"\\", L"/", L"\\\\"}) {
        const TemporaryFolder folder;
        folder.addFile(L"a.txt");
        EXPECT_TRUE(TestAccess::clean(folder.path() + ending));
        EXPECT_TRUE(listNames(folder.path()).empty());
    }
}

TEST(CacheCleaning, AnEmptyFolderIsClean)
{
    const TemporaryFolder folder;
    EXPECT_TRUE(TestAccess::clean(folder.path()));
    EXPECT_TRUE(RecordingLog::messages().empty());
}

TEST(CacheCleaning, OneLevelIsListedAndTheSearchIsClosedAtTheEnd)
{
    const InventedDirectory invented({{L".", FILE_ATTRIBUTE_DIRECTORY},
                                      {L"..", FILE_ATTRIBUTE_DIRECTORY},
                                      {L"a", FILE_ATTRIBUTE_NORMAL},
                                      {L"folder", FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_HIDDEN},
                                      {L"b", FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_HIDDEN}});
    EXPECT_TRUE(TestAccess::clean(L"C:\\cache"));
    EXPECT_EQ(Journal::shared().entries(), (JournalEntries{"FindFirstFileW C:\\cache\\*", "DeleteFileW C:\\cache\\a",
                                                           "DeleteFileW C:\\cache\\b", "FindClose"}));
}

TEST(CacheCleaning, TheDotEntriesAreNeverDeletedWhateverTheyAre)
{
    const InventedDirectory invented({{L".", FILE_ATTRIBUTE_NORMAL}, {L"..", FILE_ATTRIBUTE_NORMAL}});
    EXPECT_TRUE(TestAccess::clean(L"C:\\cache"));
    EXPECT_EQ(Journal::shared().entries(), (JournalEntries{"FindFirstFileW C:\\cache\\*", "FindClose"}));
}

TEST(CacheCleaning, AFailedFirstFindIsLoggedAndFalse)
{
    const InventedDirectory invented({});
    gFindError = ERROR_ACCESS_DENIED;
    EXPECT_FALSE(TestAccess::clean(L"C:\\cache"));
    EXPECT_EQ(Journal::shared().entries(),
              (JournalEntries{"FindFirstFileW C:\\cache\\*",
                              "log 7 Failed to get the first file in the directory. Error: 5"}));
}

TEST(CacheCleaning, AMissingDirectoryIsLoggedAndFalse)
{
    const TemporaryFolder folder;
    EXPECT_FALSE(TestAccess::clean(folder.path() + L"\\missing\\"));
    EXPECT_EQ(RecordingLog::messages(7), Messages{"Failed to get the first file in the directory. Error: 3"});
}

TEST(CacheCleaning, AFailedDeletionIsLoggedAndTheRestIsDeleted)
{
    const InventedDirectory invented({{L"a", FILE_ATTRIBUTE_NORMAL}, {L"\u00FC", FILE_ATTRIBUTE_NORMAL}});
    gDeleteError = ERROR_SHARING_VIOLATION;
    const ImportHook<decltype(&WideCharToMultiByte)> convert(nullptr, "WideCharToMultiByte", &convertLeavingAnError);
    EXPECT_TRUE(TestAccess::clean(L"C:\\cache\\"));
    EXPECT_EQ(
        Journal::shared().entries(),
        (JournalEntries{"FindFirstFileW C:\\cache\\\\*", "DeleteFileW C:\\cache\\\\a",
                        "log 7 Failed to delete file: C:\\cache\\\\a, Error: 32", "DeleteFileW C:\\cache\\\\\xC3\xBC",
                        "log 7 Failed to delete file: C:\\cache\\\\\xC3\xBC, Error: 32", "FindClose"}));
}

TEST(CacheCleaning, AFileThatIsHeldOpenStaysAndTheOthersGo)
{
    const TemporaryFolder folder;
    const std::wstring held = folder.addFile(L"b.txt");
    folder.addFile(L"a.txt");
    folder.addFile(L"c.txt");
    const HANDLE file = CreateFileW(held.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(file, INVALID_HANDLE_VALUE);
    EXPECT_TRUE(TestAccess::clean(folder.path()));
    CloseHandle(file);
    EXPECT_EQ(listNames(folder.path()), std::vector<std::wstring>{L"b.txt"});
    EXPECT_EQ(RecordingLog::messages(), Messages{"Failed to delete file: " + folder.utf8Path() + "\\b.txt, Error: 32"});
}

TEST(CacheCleaning, ABrokenWalkIsLoggedAndCountsAsDone)
{
    const InventedDirectory invented({{L"a", FILE_ATTRIBUTE_NORMAL}});
    gFindError = ERROR_CRC;
    EXPECT_TRUE(TestAccess::clean(L"C:\\cache"));
    EXPECT_EQ(Journal::shared().entries(),
              (JournalEntries{"FindFirstFileW C:\\cache\\*", "DeleteFileW C:\\cache\\a",
                              "log 7 FindNextFile encountered an error. Error: 23", "FindClose"}));
}

// ---- Slices of a list that stands ----

TEST(CacheCleaning, SlicesThatAnApplicationMayStillReadStayWithoutALine)
{
    const StandingFile standing("abc");
    const InventedDirectory invented({{L"900150983cd24fb0d6963f7d28e17f72.0", FILE_ATTRIBUTE_NORMAL},
                                      {L"900150983cd24fb0d6963f7d28e17f72.12", FILE_ATTRIBUTE_NORMAL},
                                      {L"d41d8cd98f00b204e9800998ecf8427e.0", FILE_ATTRIBUTE_NORMAL},
                                      {L"report.txt.12345678", FILE_ATTRIBUTE_NORMAL}});
    Journal::shared().clear();
    EXPECT_TRUE(TestAccess::clean(L"C:\\cache"));
    EXPECT_EQ(Journal::shared().entries(), (JournalEntries{"FindFirstFileW C:\\cache\\*",
                                                           "DeleteFileW C:\\cache\\d41d8cd98f00b204e9800998ecf8427e.0",
                                                           "DeleteFileW C:\\cache\\report.txt.12345678", "FindClose"}));
}

// A delivery thread or another program may have made it stand, or let it go, since the cleaning began.
TEST(CacheCleaning, EachFileIsLookedAtInTheMomentOfItsDeletion)
{
    const InventedDirectory invented({{L"report.txt.12345678", FILE_ATTRIBUTE_NORMAL},
                                      {L"900150983cd24fb0d6963f7d28e17f72.0", FILE_ATTRIBUTE_NORMAL},
                                      {L"another.txt.12345678", FILE_ATTRIBUTE_NORMAL},
                                      {L"900150983cd24fb0d6963f7d28e17f72.1", FILE_ATTRIBUTE_NORMAL}});
    static std::optional<StandingFile> standing;
    static int deletions = 0;
    const ImportHook<decltype(&DeleteFileW)> hook(
        nullptr, "DeleteFileW", +[](LPCWSTR path) -> BOOL {
            const std::string name = WideToUtf8(path);
            if (++deletions == 1)
                standing.emplace("abc");
            else
                standing.reset();
            Journal::shared().add("DeleteFileW " + name);
            return TRUE;
        });
    Journal::shared().clear();
    EXPECT_TRUE(TestAccess::clean(L"C:\\cache"));
    std::vector<std::string> deleted;
    for (const std::string& entry : Journal::shared().entries()) {
        if (entry.rfind("DeleteFileW", 0) == 0)
            deleted.push_back(entry);
    }
    EXPECT_EQ(deleted, (std::vector<std::string>{"DeleteFileW C:\\cache\\report.txt.12345678",
                                                 "DeleteFileW C:\\cache\\another.txt.12345678",
                                                 "DeleteFileW C:\\cache\\900150983cd24fb0d6963f7d28e17f72.1"}));
}

TEST(CacheCleaning, NoDirectoryIsNeverCleaned)
{
    expectRefused(L"");
    expectRefused(std::wstring(1, L'\0'));
}

TEST(CacheCleaning, TheRootOfADriveIsNeverCleanedInAnyForm)
{
    for (const wchar_t* const root : {L"C:",
                                      L"C:\\",
                                      L"c:/",
                                      L"C:\\\\",
                                      L"D:\\",
                                      L"\\",
                                      L"/",
                                      L"\\\\",
                                      L"C:\\.",
                                      L"C:\\.\\",
                                      L"C:\\..",
                                      L"C:\\x\\..",
                                      L"C:\\x\\..\\",
                                      L"C:/x/..",
                                      L"C:\\x\\y\\..\\..",
                                      L"C:\\x\\..\\..\\..",
                                      L"D:\\x\\..",
                                      L"\\x\\..",
                                      L"C:\\ ",

                                      L"\\\\?\\C:",
                                      L"\\\\?\\C:\\",
                                      L"\\\\?\\C:\\\\",
                                      L"//?/C:/",
                                      L"\\\\.\\C:\\",
                                      L"\\\\.\\C:",
                                      L"\\??\\C:\\",
                                      L"\\\\?\\Volume{01234567-89ab-cdef-0123-456789abcdef}\\",
                                      L"\\\\.\\C:\\x\\.."})
        expectRefused(root);
    expectRefused(std::wstring(L"C:\\\0x", 5));  // the platform reads up to the terminator
}

TEST(CacheCleaning, TheRootOfAShareIsNeverCleanedInAnyForm)
{
    for (const wchar_t* const root :
         {L"\\\\server", L"\\\\server\\share", L"\\\\server\\share\\", L"//server/share/", L"\\\\server\\\\share\\\\",
          L"\\\\?\\UNC\\server\\share", L"\\\\?\\unc\\server\\share\\", L"\\\\.\\UNC\\server\\share",
          L"\\\\server\\share\\x\\..", L"\\\\server\\share\\.", L"\\\\server\\share\\..\\.."})
        expectRefused(root);
}

TEST(CacheCleaning, ARelativeWayToTheRootIsNeverCleaned)
{
    wchar_t before[MAX_PATH];
    ASSERT_NE(GetCurrentDirectoryW(MAX_PATH, before), 0u);
    ASSERT_TRUE(SetCurrentDirectoryW(L"C:\\"));
    for (const wchar_t* const way : {L".", L".\\", L"..", L"x\\..", L"C:.", L"C:x\\..", L"./"})
        expectRefused(way);
    EXPECT_TRUE(SetCurrentDirectoryW(before));
}

TEST(CacheCleaning, AFolderIsCleanedInEveryForm)
{
    for (const wchar_t* const folder :
         {L"C:\\cache", L"C:\\cache\\", L"C:/cache/", L"C:\\x\\..\\cache", L"\\cache", L"\\\\?\\C:\\cache",
          L"\\\\server\\share\\cache", L"\\\\?\\UNC\\server\\share\\cache", L"C:\\c:\\x"}) {
        const InventedDirectory invented({{L"a", FILE_ATTRIBUTE_NORMAL}});
        Journal::shared().clear();
        EXPECT_TRUE(TestAccess::clean(folder)) << WideToUtf8(folder);
        EXPECT_EQ(Journal::shared().entries(),
                  (JournalEntries{"FindFirstFileW " + WideToUtf8(folder) + "\\*",
                                  "DeleteFileW " + WideToUtf8(folder) + "\\a", "FindClose"}));
    }
}
