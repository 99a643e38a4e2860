// A dead transport: the host reports the failure from its delivery thread, which joined OLE, on its own or from inside
// an event or a function that it is called by.
#include "live_transfer.h"

using namespace sd::clip;

namespace {

class FailureReport : public LiveTransfer {
protected:
    void beginTransfer()
    {
        offer();
        ASSERT_EQ(paste(), S_OK);
        deliver(0, "01234");
    }

    void expectEnded()
    {
        expectDestroyedBeforeTheClipboardWasEmptied();
        EXPECT_EQ(mGuest.cancelled, std::vector<std::string>{"file0"});
        EXPECT_EQ(RecordingLog::count(5, "Cancel file stream wait."), 1);
        EXPECT_EQ(TestAccess::notedObject(*mEngine), nullptr);
        EXPECT_EQ(TestAccess::clipData(*mEngine), nullptr);
        EXPECT_EQ(read(1).result, STG_E_REVERTED);
    }
};

}  // namespace

TEST_F(FailureReport, TheObjectEndsWhileTheReportingThreadEmptiesTheClipboard)
{
    beginTransfer();
    mDelivery.run([this] { reportFailure(); });
    expectEnded();
    expectNextListWorks();
}

TEST_F(FailureReport, ItMayComeFromInsideTheEventOfAFilesEnd)
{
    reportFailureDuring("transferFinish");
    beginTransfer();
    deliver(0, "56789");
    expectEnded();
    expectNextListWorks();
}

TEST_F(FailureReport, ItMayComeFromInsideTheEventOfTheListsEnd)
{
    reportFailureDuring("endClipboardFile");
    beginTransfer();
    deliver(0, "56789");
    deliver(1, std::string(20, 'b'));
    EXPECT_EQ(RecordingLog::count(6, "clipboard file request is not transfering"), 1);
    EXPECT_EQ(read(10).bytes, "0123456789");  // nothing was transferring any more
    EXPECT_TRUE(mGuest.cancelled.empty());
}

TEST_F(FailureReport, ASecondOneFromInsideTheCancelFunctionFindsNothing)
{
    mDuringCancel = [this] { reportFailure(); };
    beginTransfer();
    mDelivery.run([this] { reportFailure(); });
    expectEnded();
    EXPECT_EQ(RecordingLog::count(5, "ClipDataObject is nullptr, don't need reset oleclipboard"), 1);
    expectNextListWorks();
}
