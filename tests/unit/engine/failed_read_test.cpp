// A guest that falls silent: the wait for a slice ends, and the transfer is cancelled inside the read, on the thread
// that serves the OLE clipboard, while the guest's delivery thread goes on.
#include "live_transfer.h"
#include "slice_clock.h"

using namespace sd::clip;

namespace {

constexpr std::uint64_t kEndless = 1048576;

class FailedRead : public LiveTransfer {
protected:
    // file0 ends, file1 does not: its slice never comes.
    FailedRead() : LiveTransfer({10, kEndless}) {}

    // Lets the application read file1 until it waits for a slice.
    void beginRead()
    {
        offer();
        ASSERT_EQ(paste(0), S_OK);
        ASSERT_EQ(paste(1), S_OK);
        deliver(1, "x");
        mReading = mPaster.start([this] {
            char byte = 0;
            ULONG count = 1;
            EXPECT_EQ(mStream->Read(&byte, 1, &count), S_FALSE);
            EXPECT_EQ(count, 0u);
        });
        ASSERT_TRUE(RecordingLog::waitForLine(5, "Wait slice file..", 20000));
    }

    // A guest that goes on sending what no slice is made of, until it is told that nobody listens.
    void keepDelivering()
    {
        mDelivering = mDelivery.start([this] {
            for (std::uint64_t sent = 1; sent < kEndless - 1 && !hasDropped(); ++sent)
                mGuest.deliver(1, "x");
        });
    }

    static bool hasDropped()
    {
        return RecordingLog::count(6, "mClipData is nullptr. maybe use canceled.") > 0;
    }

    void expectCancelledOnceByTheRead()
    {
        mReading.get();
        EXPECT_TRUE(waitForDestruction());
        EXPECT_EQ(mGuest.cancelled, std::vector<std::string>{"file1"});
        int timeouts = 0;
        for (const RecordedEvent& event : mListener->events())
            timeouts += event.operation == "transferFail" && event.errorCode == "1502" ? 1 : 0;
        EXPECT_EQ(timeouts, 1);
        EXPECT_EQ(RecordingLog::count(6, "Read file conntext fail. Cancel remote transfer"), 1);
        expectDestroyedBeforeTheClipboardWasEmptied();
        EXPECT_EQ(read(1).result, STG_E_REVERTED);
    }

    SliceClock mClock;
    std::future<void> mReading;
    std::future<void> mDelivering;
};

}  // namespace

TEST_F(FailedRead, TheObjectEndsInsideTheReadWhileDeliveriesCome)
{
    beginRead();
    keepDelivering();
    SliceClock::passWaits();
    expectCancelledOnceByTheRead();
    mDelivering.get();
    EXPECT_TRUE(hasDropped());
    expectNextListWorks();
}

TEST_F(FailedRead, TheHostMayReportAFailureFromInsideTheEvent)
{
    reportFailureDuring("transferFail");
    beginRead();
    keepDelivering();
    SliceClock::passWaits();
    expectCancelledOnceByTheRead();
    mDelivering.get();
    expectNextListWorks();
}

TEST_F(FailedRead, TheHostMayReportAFailureFromInsideItsCancelFunction)
{
    mDuringCancel = [this] { reportFailure(); };
    beginRead();
    keepDelivering();
    SliceClock::passWaits();
    expectCancelledOnceByTheRead();
    mDelivering.get();
    expectNextListWorks();
}

// The delivery holds the transfer's lock then, and the object's end inside the read wants it.
TEST_F(FailedRead, TheDeliveryThreadMayReportAFailureFromInsideAnEventMeanwhile)
{
    beginRead();
    reportFailureDuring("transferFinish");
    auto delivery = mDelivery.start([this] { mGuest.deliver(0, "0123456789"); });
    ASSERT_TRUE(RecordingLog::waitForLine(5, "Cancel file stream wait.", 20000));
    SliceClock::passWaits();
    expectCancelledOnceByTheRead();
    delivery.get();
    expectNextListWorks();
}

TEST_F(FailedRead, TheDeliveryThreadMayReportAFailureMeanwhile)
{
    beginRead();
    auto report = mDelivery.start([this] { reportFailure(); });
    ASSERT_TRUE(RecordingLog::waitForLine(5, "Cancel file stream wait.", 20000));
    SliceClock::passWaits();
    expectCancelledOnceByTheRead();
    report.get();
    expectNextListWorks();
}
