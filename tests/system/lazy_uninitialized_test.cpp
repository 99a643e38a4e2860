// A host that never uses the placeholder route. Nothing here calls InitFileLazyRenderer.
#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <string>

#include "dll_host.h"
#include "support/import_hook.h"
#include "support/recording_log.h"
#include "support/temporary_folder.h"

using namespace sd::clip;

namespace {

// What the library asks to have deleted. It stays.
std::atomic<int> gDeletions{0};

// A file where an empty cache directory leads: its walk begins at the root of the current drive.
class FileInDriveRoot {
public:
    FileInDriveRoot()
    {
        std::ofstream(std::filesystem::path(mPath)) << "contents";
    }
    ~FileInDriveRoot()
    {
        EXPECT_TRUE(DeleteFileW(mPath.c_str()));
    }
    FileInDriveRoot(const FileInDriveRoot&) = delete;
    FileInDriveRoot& operator=(const FileInDriveRoot&) = delete;

private:
    const std::wstring mPath = L"\\kept-" + std::to_wstring(GetCurrentProcessId()) + L".txt";
};

// The host starts in the first test, so each test looks at the log.
void expectNoWatchers()
{
    EXPECT_FALSE(RecordingLog::hasLine(5, "Start monitoring all drives."));
    EXPECT_FALSE(RecordingLog::hasLine(5, "Start watching drive"));
    EXPECT_FALSE(RecordingLog::hasLine(5, "WatchDirectory"));
}

}  // namespace

TEST(WithoutTheLazyRenderer, ACopyOfOneFileIsReportedLikeAnyOther)
{
    DllHost& host = DllHost::shared();
    const TemporaryFolder folder;
    host.copy({folder.addFile(L"one.txt", "hello")});
    EXPECT_EQ(host.listener().reports().back(), std::vector<ClipboardFormat>{ClipboardFormat::File});
    const auto files = host.receive();
    ASSERT_EQ(files.size(), 1U);
    EXPECT_EQ(files[0].fileName, "one.txt");
    host.copy({folder.addFile(L"two.txt"), folder.addFile(L"three.txt")});
    EXPECT_EQ(host.receive().size(), 2U);
    EXPECT_FALSE(RecordingLog::hasLine(5, "Copied file path match cache dir"));
    expectNoWatchers();
}

TEST(WithoutTheLazyRenderer, AListIsRefusedAndNothingIsDeletedOrWatched)
{
    DllHost& host = DllHost::shared();
    const FileInDriveRoot kept;
    gDeletions = 0;
    const ImportHook<decltype(&DeleteFileW)> deletions(
        GetModuleHandleW(L"md-clipboard.dll"), "DeleteFileW", +[](LPCWSTR) -> BOOL {
            ++gDeletions;
            return TRUE;
        });
    const auto record = ClipboardFileDataEx::Create();
    ClipfileDescription file;
    file.fileName = "report.txt";
    record->SetFiles({file});
    EXPECT_FALSE(host.clipboard().SetClipboardData(ClipboardFormat::FileLazy, record));
    EXPECT_EQ(RecordingLog::count(7, "Failed to get the first file in the directory. Error: 123"), 1);
    EXPECT_EQ(gDeletions, 0);
    expectNoWatchers();
    host.clipboard().NotifyFileLazyRenderingComplete(0);
    EXPECT_EQ(RecordingLog::count(5, "FileLazyRenderingPromise is NULL!"), 1);
}
