// A user who stops a paste: a delivery finds the reader silent and cancels the transfer, on a thread of the host's that
// joined OLE, while the platform's thread destroys the data object.
#include "live_transfer.h"

using namespace sd::clip;

namespace {

class SilentReader : public LiveTransfer {
protected:
    // The delivery after three seconds of silence, and what comes after it.
    void deliverIntoSilence()
    {
        ASSERT_EQ(paste(), S_OK);
        deliver(0, "01234");
        fallSilent();
        deliver(0, "56789");
        deliver(0, "x");
    }

    void expectOneCancel()
    {
        EXPECT_EQ(mGuest.cancelled, std::vector<std::string>{"file0"});
        std::vector<std::string> cancels;
        for (const RecordedEvent& event : mListener->events()) {
            if (event.operation == "cancelTransfer")
                cancels.push_back(event.message);
        }
        EXPECT_EQ(cancels, std::vector<std::string>{"user cancel file transfer"});
        EXPECT_EQ(RecordingLog::count(6, "mClipData is nullptr. maybe use canceled."), 1);
        EXPECT_EQ(read(1).result, STG_E_REVERTED);
    }
};

}  // namespace

TEST_F(SilentReader, TheObjectEndsWhileTheDeliveryThreadEmptiesTheClipboard)
{
    offer();
    deliverIntoSilence();
    expectDestroyedBeforeTheClipboardWasEmptied();
    expectOneCancel();
    expectNextListWorks();
}

TEST_F(SilentReader, TheHostMayReportAFailureFromInsideTheEvent)
{
    reportFailureDuring("cancelTransfer");
    offer();
    deliverIntoSilence();
    expectDestroyedBeforeTheClipboardWasEmptied();
    expectOneCancel();
    expectNextListWorks();
}

TEST_F(SilentReader, TheHostMayReportAFailureFromInsideItsCancelFunction)
{
    mDuringCancel = [this] { reportFailure(); };
    offer();
    deliverIntoSilence();
    expectDestroyedBeforeTheClipboardWasEmptied();
    expectOneCancel();
    expectNextListWorks();
}

TEST_F(SilentReader, AnApplicationThatHoldsTheObjectIsRefusedFromThenOn)
{
    offer();
    Microsoft::WRL::ComPtr<IDataObject> held;
    onWorkThread([&] { held = TestAccess::notedObject(*mEngine); });
    deliverIntoSilence();
    EXPECT_EQ(mGuest.cancelled, std::vector<std::string>{"file0"});
    onWorkThread([&] {
        EXPECT_EQ(getContents(*held.Get(), 1), DV_E_FORMATETC);
        held.Reset();
    });
    EXPECT_TRUE(waitForDestruction());
    EXPECT_EQ(mGuest.cancelled.size(), 1u);
}
