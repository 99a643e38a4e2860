// The host's functions that a paste calls under the transfer's lock, on the thread that serves the OLE clipboard: the
// paste function, which may veto, and the request function.
#include "live_transfer.h"

using namespace sd::clip;

namespace {

class Veto : public LiveTransfer {
protected:
    void veto(const std::function<void()>& meanwhile = nullptr)
    {
        mGuest.record->SetOLEClipboardPasteFunc([meanwhile] {
            if (meanwhile)
                meanwhile();
            return false;
        });
    }

    void expectRefused(HRESULT result)
    {
        EXPECT_EQ(result, DV_E_FORMATETC);
        EXPECT_EQ(RecordingLog::count(5, "Abort ole clipboard paste due to APP rejection."), 1);
        EXPECT_NE(Journal::shared().find("emptied"), -1);
        EXPECT_TRUE(mGuest.requested.empty());
        EXPECT_TRUE(mGuest.cancelled.empty());
        EXPECT_TRUE(waitForDestruction());
    }
};

class RequestFunction : public LiveTransfer {
protected:
    void expectEndedBeforeAByteCame()
    {
        EXPECT_TRUE(waitForDestruction());
        EXPECT_EQ(mGuest.requested, std::vector<std::string>{"file0"});
        EXPECT_EQ(mGuest.cancelled, std::vector<std::string>{"file0"});  // what was asked for
        EXPECT_EQ(RecordingLog::count(5, "Cancel file stream wait."), 1);
        EXPECT_EQ(read(1).result, STG_E_REVERTED);
        deliver(0, "x");
        EXPECT_EQ(RecordingLog::count(6, "mClipData is nullptr. maybe use canceled."), 1);
    }
};

}  // namespace

TEST_F(Veto, TheClipboardIsEmptiedWithoutTheTransfersLock)
{
    veto();
    offer();
    expectRefused(paste());
    expectNextListWorks();
}

TEST_F(Veto, TheLastReferenceGoesAfterTheRefusal)
{
    veto();
    offer();
    HRESULT result = S_OK;
    // Only the clipboard holds the object, and the veto empties it.
    onWorkThread([&] { result = getContents(*TestAccess::notedObject(*mEngine), 0); });
    expectRefused(result);
    const int refused = Journal::shared().find("log 6 Request file data failed, reject by policy.");
    ASSERT_NE(refused, -1);
    EXPECT_LT(refused, Journal::shared().find("log 5 destroy "));
}

TEST_F(Veto, ThePasteFunctionMayReportAFailure)
{
    veto([this] { reportFailure(); });
    offer();
    expectRefused(paste());
    EXPECT_EQ(RecordingLog::count(6, "clipboard file request is not transfering"), 1);
    expectNextListWorks();
}

TEST_F(Veto, AConsentThatReportsAFailureGoesOn)
{
    mGuest.record->SetOLEClipboardPasteFunc([this] {
        reportFailure();
        return true;
    });
    offer();
    EXPECT_EQ(paste(), S_OK);
    deliver(0, "0123456789");
    EXPECT_EQ(read(10).bytes, "0123456789");
}

TEST_F(Veto, ThePasteFunctionMayWaitForTheDeliveryThread)
{
    offer();
    ASSERT_EQ(paste(), S_OK);
    const FileDataRequestCallback earlier = mGuest.sink;
    mDelivery.run([this] { reportFailure(); });
    ASSERT_TRUE(waitForDestruction());
    mGuest.requested.clear();
    mGuest.cancelled.clear();
    veto([&] {
        mDelivery.run([&] {
            reportFailure();
            unsigned char oneByte = 'x';
            earlier(mGuest.files[0], &oneByte, 1);
            TestAccess::detectCopy(*mEngine);
        });
    });
    offer();
    expectRefused(paste());
    EXPECT_EQ(RecordingLog::count(6, "clipboard file request is not transfering"), 1);
    EXPECT_EQ(RecordingLog::count(6, "mClipData is nullptr. maybe use canceled."), 1);
}

TEST_F(RequestFunction, ItMayReportAFailureThoughThereIsNoStreamYet)
{
    mDuringRequest = [this] { reportFailure(); };
    offer();
    EXPECT_EQ(paste(), S_OK);
    expectEndedBeforeAByteCame();
    expectNextListWorks();
}

TEST_F(RequestFunction, TheDeliveryThreadMayReportAFailureBeforeTheFirstStreamExists)
{
    std::future<void> report;
    mDuringRequest = [&] {
        report = mDelivery.start([this] { reportFailure(); });
        EXPECT_TRUE(RecordingLog::waitForLine(5, "Cancel file stream wait.", 20000));
    };
    offer();
    EXPECT_EQ(paste(), S_OK);
    report.get();
    expectEndedBeforeAByteCame();
    expectNextListWorks();
}

TEST_F(RequestFunction, AListenerMayReportAFailureWhenThePasteBegins)
{
    reportFailureDuring("triggerClipboardFilePaste");
    offer();
    EXPECT_EQ(paste(), S_OK);
    EXPECT_EQ(RecordingLog::count(6, "clipboard file request is not transfering"), 1);
    deliver(0, "0123456789");
    EXPECT_EQ(read(10).bytes, "0123456789");
}
