// A host that never uses the placeholder route. Nothing here calls InitFileLazyRenderer.
#include <gtest/gtest.h>

#include "dll_host.h"
#include "support/recording_log.h"
#include "support/temporary_folder.h"

using namespace sd::clip;

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
}

TEST(WithoutTheLazyRenderer, AListIsRefusedAndNothingIsDeletedOrWatched)
{
    DllHost& host = DllHost::shared();
    const auto record = ClipboardFileDataEx::Create();
    ClipfileDescription file;
    file.fileName = "report.txt";
    record->SetFiles({file});
    EXPECT_FALSE(host.clipboard().SetClipboardData(ClipboardFormat::FileLazy, record));
    EXPECT_EQ(RecordingLog::count(7, "Failed to get the first file in the directory. Error: 123"), 1);
    EXPECT_FALSE(RecordingLog::hasLine(5, "Start watching drive"));
    host.clipboard().NotifyFileLazyRenderingComplete(0);
    EXPECT_EQ(RecordingLog::count(5, "FileLazyRenderingPromise is NULL!"), 1);
}
