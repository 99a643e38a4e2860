// The library's own placeholder on the clipboard is nothing that a user copied; everything else is.
#include <future>

#include "example_support/utf8_arguments.h"
#include "lazy_test.h"
#include "support/clipboard_owner.h"
#include "support/recording_log.h"

using namespace sd::clip;

namespace {

const std::vector<ClipboardFormat> kFiles = {ClipboardFormat::File};
const std::vector<ClipboardFormat> kNothing;

class LazyOwnCopy : public LazyTest {
protected:
    // Has another program copy something that the library takes for its own.
    void copyUnreported(const std::wstring& path)
    {
        mHost.listener().clear();
        const std::size_t before = countOwnChanges();
        ChildProcess copy(L"clip-copy.exe", {path});
        ASSERT_EQ(copy.waitForExit(), 0U) << copy.output();
        EXPECT_TRUE(waitUntil([&] { return countOwnChanges() > before; }));
        EXPECT_TRUE(
            RecordingLog::waitForLine(5, "Copied file path match cache dir, bypass lazy render: " + toUtf8(path)));
        EXPECT_TRUE(mHost.listener().reports().empty());
        EXPECT_TRUE(mHost.listener().events().empty());
    }

    void expectFileIsReported(const std::wstring& path)
    {
        mHost.copy({path});
        EXPECT_EQ(mHost.listener().reports().back(), kFiles);
        const auto files = mHost.receive();
        ASSERT_EQ(files.size(), 1U);
        EXPECT_EQ(files[0].root + "\\" + files[0].fileName, toUtf8(path));
    }

    void expectTextIsReported()
    {
        mHost.copy({L"--text", L"hello"});
        EXPECT_EQ(mHost.listener().reports().back(), kNothing);
    }
};

}  // namespace

TEST_F(LazyOwnCopy, ThePublicationIsConsumedAndATextCopyAfterItIsSeen)
{
    arm();
    EXPECT_TRUE(RecordingLog::hasLine(5, "Consume file lazy renderer copy 1"));
    EXPECT_TRUE(mHost.listener().reports().empty());
    EXPECT_TRUE(mHost.listener().events().empty());
    expectTextIsReported();
    EXPECT_TRUE(RecordingLog::hasLine(5, "Consume file lazy renderer copy 0"));
}

TEST_F(LazyOwnCopy, ThePasteItselfIsNoCopy)
{
    const auto list = arm();
    EXPECT_EQ(pasteInto(mOther.path()), kPasteWritten) << mOutput;
    expectLanded(*list, 1, mOther.path());
    EXPECT_TRUE(mHost.listener().reports().empty());
    mHost.clipboard().NotifyFileLazyRenderingComplete(0);
    EXPECT_EQ(RecordingLog::count(5, "Notify file lazy rendering copy done(0)"), 1);
    EXPECT_TRUE(mHost.listener().reports().empty());
    expectTextIsReported();
}

TEST_F(LazyOwnCopy, OneFileElsewhereIsReported)
{
    expectFileIsReported(mFolder.addFile(L"before.txt", "1"));
    arm();
    expectFileIsReported(mFolder.addFile(L"after.txt", "2"));
}

TEST_F(LazyOwnCopy, OneFileInTheCacheDirectoryIsNotReported)
{
    arm();
    copyUnreported(mFolder.addFile(L"cache\\users own.txt", "1"));
    copyUnreported(mPlaceholder);
    copyUnreported(mFolder.addFile(L"cache\\sub\\deeper.txt", "2"));
    expectFileIsReported(mFolder.addFile(L"cache of another name\\elsewhere.txt", "3"));
    expectTextIsReported();
}

TEST_F(LazyOwnCopy, OneFileInTheCacheDirectoryIsNotReportedBeforeAnyListEither)
{
    copyUnreported(mFolder.addFile(L"cache\\first.txt", "1"));
    expectTextIsReported();
}

TEST_F(LazyOwnCopy, TwoFilesInTheCacheDirectoryAreReported)
{
    arm();
    const std::wstring first = mFolder.addFile(L"cache\\1.txt", "1");
    mHost.copy({first, mFolder.addFile(L"cache\\2.txt", "2")});
    EXPECT_EQ(mHost.listener().reports().back(), kFiles);
    EXPECT_EQ(mHost.receive().size(), 2U);
}

// The flag that stands for a publication is taken back with it.
TEST_F(LazyOwnCopy, AFailedListSwallowsNoCopy)
{
    const auto list = std::make_shared<LazyList>();
    EXPECT_FALSE(offerLazily(list, {}));
    EXPECT_TRUE(RecordingLog::hasLine(7, "No file to copy"));
    expectFileIsReported(mFolder.addFile(L"after.txt", "1"));
}

TEST_F(LazyOwnCopy, ARefusedListLeavesTheClipboardAndTheEarlierListAsTheyAre)
{
    const auto list = arm();
    EXPECT_FALSE(offerLazily(std::make_shared<LazyList>(), {"..\\escape.txt"}));
    EXPECT_FALSE(mHost.clipboard().SetClipboardData(ClipboardFormat::FileLazy, nullptr));
    EXPECT_TRUE(fileExists(mPlaceholder));
    EXPECT_EQ(pasteInto(mOther.path()), kPasteWritten) << mOutput;
    expectLanded(*list, 1, mOther.path());
}

// A second notification for one list comes back to the host that counts wrongly.
TEST_F(LazyOwnCopy, ASecondNotificationForOneListThrows)
{
    arm();
    mHost.clipboard().NotifyFileLazyRenderingComplete(0);
    EXPECT_THROW(mHost.clipboard().NotifyFileLazyRenderingComplete(0), std::future_error);
    arm();
    EXPECT_NO_THROW(mHost.clipboard().NotifyFileLazyRenderingComplete(7));
    EXPECT_EQ(RecordingLog::count(5, "Notify file lazy rendering copy done(7)"), 1);
}
