// What was copied after a list stays, however late the end of the list's transfer comes.
#include "live_transfer.h"

using namespace sd::clip;
using Microsoft::WRL::ComPtr;

namespace {

class NewerCopy : public LiveTransfer {
protected:
    ~NewerCopy() override
    {
        onWorkThread([this] { mHeld.Reset(); });
    }

    // With an application that holds the data object: it outlives its place on the clipboard.
    void offerHeld()
    {
        offer();
        onWorkThread([this] { mHeld = TestAccess::notedObject(*mEngine); });
    }

    static void copyText()
    {
        ClipboardOwner().putText(L"the user's");
    }

    static bool isListOnClipboard()
    {
        return IsClipboardFormatAvailable(RegisterClipboardFormatW(L"FileContents")) != FALSE;
    }

    static void expectNothingEmptied()
    {
        EXPECT_EQ(RecordingLog::count(5, "clear OLE Clipboard\n"), 0);
        EXPECT_EQ(RecordingLog::count(5, "Empty OLE Clipboard data\n"), 0);
        EXPECT_EQ(Journal::shared().find("emptied"), -1);
    }

    static void expectTextStays()
    {
        expectNothingEmptied();
        EXPECT_TRUE(IsClipboardFormatAvailable(CF_UNICODETEXT));
    }

    ComPtr<IDataObject> mHeld;  // used on the work thread only
};

}  // namespace

TEST_F(NewerCopy, StaysWhenAPasteOfTheListIsVetoed)
{
    mGuest.record->SetOLEClipboardPasteFunc([] {
        copyText();  // on the thread that serves OLE: another would wait for it
        return false;
    });
    offerHeld();
    EXPECT_EQ(paste(), DV_E_FORMATETC);
    EXPECT_EQ(RecordingLog::count(5, "Abort ole clipboard paste due to APP rejection."), 1);
    expectTextStays();
}

TEST_F(NewerCopy, StaysWhenASilentReaderIsCancelled)
{
    mDuringCancel = [] { copyText(); };
    offerHeld();
    ASSERT_EQ(paste(), S_OK);
    fallSilent();
    deliver(0, "01234");
    EXPECT_EQ(mGuest.cancelled, std::vector<std::string>{"file0"});
    expectTextStays();
}

TEST_F(NewerCopy, StaysWhenAFailureIsReportedFromInsideAnEvent)
{
    mListener->duringEvent = [this](const RecordedEvent& event) {
        if (event.operation != "transferFinish")
            return;
        reportFailure();
        copyText();
    };
    offerHeld();
    ASSERT_EQ(paste(), S_OK);
    deliver(0, "0123456789");
    EXPECT_EQ(RecordingLog::count(5, "Cancel file stream wait."), 1);
    expectTextStays();
}

TEST_F(NewerCopy, StaysWhereItIsTheGuestsNextList)
{
    offerHeld();
    offer();
    mGuest.record->SetOLEClipboardPasteFunc([] { return false; });
    onWorkThread([this] { EXPECT_EQ(getContents(*mHeld.Get(), 0), DV_E_FORMATETC); });
    expectNothingEmptied();
    EXPECT_TRUE(isListOnClipboard());
}
