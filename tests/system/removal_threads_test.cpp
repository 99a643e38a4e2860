// A transfer that ends before its list has arrived, at the word of a thread of whatever kind: the dead list leaves the
// clipboard, and what another program has copied meanwhile stays.
#include <ole2.h>

#include <atomic>
#include <future>
#include <thread>

#include "example_support/joined_ole.h"
#include "guest_paste.h"
#include "pausing_application.h"
#include "support/recording_log.h"

using namespace sd::clip;

namespace {

constexpr std::uint32_t kTransferFailed = 1;
constexpr std::size_t kFileSize = 3000000;
constexpr std::size_t kFirstPart = 1500000;  // more than a slice, so that an application can begin

enum class ThreadKind { kPlain, kMultithreaded, kJoinedOle };

std::string nameKind(const testing::TestParamInfo<ThreadKind>& kind)
{
    constexpr const char* kNames[] = {"Plain", "Multithreaded", "JoinedOle"};
    return kNames[static_cast<int>(kind.param)];
}

void onThreadOf(ThreadKind kind, const std::function<void()>& function)
{
    std::thread([&] {
        if (kind == ThreadKind::kJoinedOle) {
            const JoinedOle ole;
            function();
        } else if (kind == ThreadKind::kMultithreaded) {
            CoInitializeEx(nullptr, COINIT_MULTITHREADED);
            function();
            CoUninitialize();
        } else {
            function();
        }
    }).join();
}

// A list of one file, whose deliveries the test makes itself, on a thread of its choice. Made by std::make_shared: the
// library keeps its record for as long as some application holds on to it.
class DeliveredByHand : public std::enable_shared_from_this<DeliveredByHand> {
public:
    explicit DeliveredByHand(const GuestList& guest) : mBytes(guest.files()[0].bytes) {}

    std::shared_ptr<ClipboardFileDataImpl> makeRecord(GuestList& guest)
    {
        auto record = guest.makeRecord();
        record->SetFileFuncs(
            [self = shared_from_this()](const ClipfileDescription& file, FileDataRequestCallback sink) {
                self->mFile = file;
                self->mSink = std::move(sink);
                self->mRequested.set_value();
                return std::string();
            },
            [self = shared_from_this()](const ClipfileDescription&) { ++self->mCancels; });
        return record;
    }

    bool waitForRequest()
    {
        return mRequested.get_future().wait_for(std::chrono::seconds(30)) == std::future_status::ready;
    }

    // The next bytes of the file.
    void deliver(std::size_t size)
    {
        mSink(mFile, reinterpret_cast<unsigned char*>(mBytes.data()) + mSent, size);
        mSent += size;
    }

    int cancels() const
    {
        return mCancels;
    }

private:
    std::string mBytes;
    std::size_t mSent = 0;
    std::promise<void> mRequested;
    ClipfileDescription mFile;
    FileDataRequestCallback mSink;
    std::atomic<int> mCancels{0};
};

class RemovalThreads : public PasteTest, public testing::WithParamInterface<ThreadKind> {
protected:
    // Until another program has read a piece, and holds on to the list without a call.
    void beginPaste()
    {
        ASSERT_TRUE(offer(mTransfer->makeRecord(*mGuest)));
        mApplication = std::make_unique<PausingApplication>();
        ASSERT_TRUE(mTransfer->waitForRequest());
        onThreadOf(GetParam(), [this] { mTransfer->deliver(kFirstPart); });
        ASSERT_TRUE(mApplication->waitForFirstPiece());
        RecordingLog::clear();
    }

    static void copyTextElsewhere()
    {
        ChildProcess copy(L"clip-copy.exe", {L"--text", L"the user's"});
        ASSERT_EQ(copy.waitForExit(), 0U) << copy.output();
    }

    void reportFailure()
    {
        onThreadOf(GetParam(), [this] { mHost.clipboard().NotifyFileTransferFailed(kTransferFailed); });
        EXPECT_EQ(RecordingLog::count(5, "Cancel file stream wait."), 1);
    }

    // Until the library takes the application's silence for the user's cancel.
    void deliverUntilCancelled()
    {
        onThreadOf(GetParam(), [this] {
            EXPECT_TRUE(waitUntil([this] {
                if (mTransfer->cancels() == 0)
                    mTransfer->deliver(1);
                return mTransfer->cancels() > 0;
            }));
        });
        EXPECT_EQ(RecordingLog::count(5, "User canceled copy action"), 1);
    }

    static void expectTextStays()
    {
        EXPECT_TRUE(IsClipboardFormatAvailable(CF_UNICODETEXT));
        EXPECT_EQ(RecordingLog::count(5, "Empty OLE Clipboard data\n"), 0);
        EXPECT_EQ(RecordingLog::count(5, "clear OLE Clipboard\n"), 0);
    }

    // The application that still holds the dead list is in nobody's way.
    void expectEmptied(const std::string& line)
    {
        EXPECT_EQ(CountClipboardFormats(), 0);
        EXPECT_EQ(RecordingLog::count(5, line), 1);
        expectNextListWorks();
    }

    const std::shared_ptr<GuestList> mGuest = makeList({{"", "long.bin", makeBytes(kFileSize)}});
    const std::shared_ptr<DeliveredByHand> mTransfer = std::make_shared<DeliveredByHand>(*mGuest);
    std::unique_ptr<PausingApplication> mApplication;
};

}  // namespace

TEST_P(RemovalThreads, AReportOfAFailureTakesTheListOff)
{
    ASSERT_NO_FATAL_FAILURE(beginPaste());
    reportFailure();
    expectEmptied("Empty OLE Clipboard data\n");
}

TEST_P(RemovalThreads, ASilentReadersCancelTakesTheListOff)
{
    ASSERT_NO_FATAL_FAILURE(beginPaste());
    deliverUntilCancelled();
    expectEmptied("clear OLE Clipboard\n");
}

TEST_P(RemovalThreads, AReportOfAFailureLeavesANewerCopy)
{
    ASSERT_NO_FATAL_FAILURE(beginPaste());
    ASSERT_NO_FATAL_FAILURE(copyTextElsewhere());
    reportFailure();
    expectTextStays();
    expectNextListWorks();
}

TEST_P(RemovalThreads, ASilentReadersCancelLeavesANewerCopy)
{
    ASSERT_NO_FATAL_FAILURE(beginPaste());
    ASSERT_NO_FATAL_FAILURE(copyTextElsewhere());
    deliverUntilCancelled();
    expectTextStays();
    expectNextListWorks();
}

INSTANTIATE_TEST_SUITE_P(Kinds, RemovalThreads,
                         testing::Values(ThreadKind::kPlain, ThreadKind::kMultithreaded, ThreadKind::kJoinedOle),
                         &nameKind);
