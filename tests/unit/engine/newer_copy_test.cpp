// What was copied after a list stays, however late the end of the list's transfer comes.
#include "live_transfer.h"

using namespace sd::clip;
using Microsoft::WRL::ComPtr;

namespace {

std::shared_ptr<FileRequest> gEarlier;
std::atomic<decltype(&OleSetClipboard)> gSet{nullptr};

// The end of the earlier list's transfer, at the moment in which the clipboard holds the new list already.
HRESULT WINAPI setAndEndTheEarlier(IDataObject* object)
{
    const HRESULT result = gSet.load()(object);
    if (object != nullptr && SUCCEEDED(result))
        ClipboardImpl::instance()->resetOleclipboardOf(*gEarlier);
    return result;
}

class NewerCopy : public LiveTransfer {
protected:
    ~NewerCopy() override
    {
        onWorkThread([this] { mHeld.Reset(); });
        gEarlier.reset();
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

TEST_F(NewerCopy, StaysWhenADeliveryThreadReportsAFailure)
{
    offerHeld();
    ASSERT_EQ(paste(), S_OK);
    deliver(0, "01234");
    copyText();
    mDelivery.run([this] { reportFailure(); });
    EXPECT_EQ(RecordingLog::count(5, "Cancel file stream wait."), 1);
    expectTextStays();
}

TEST_F(NewerCopy, StaysWhenAThreadWithoutOleReportsAFailure)
{
    offerHeld();
    ASSERT_EQ(paste(), S_OK);
    deliver(0, "01234");
    copyText();
    reportFailure();
    EXPECT_EQ(RecordingLog::count(5, "Cancel file stream wait."), 1);
    expectTextStays();
}

TEST_F(NewerCopy, StaysWhenTheClipboardIsReset)
{
    offerHeld();
    copyText();
    mDelivery.run([this] { mEngine->resetOleclipboard(); });
    mEngine->resetOleclipboard();
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

// Its owner is OLE's window still, and an application keeps the list alive.
TEST_F(NewerCopy, AListThatIsOffAlreadyIsNotEmptiedOnceMore)
{
    offerHeld();
    mDelivery.run([this] { mEngine->resetOleclipboard(); });
    EXPECT_FALSE(isListOnClipboard());
    EXPECT_EQ(RecordingLog::count(5, "clear OLE Clipboard\n"), 1);
    mDelivery.run([this] { mEngine->resetOleclipboard(); });
    EXPECT_EQ(RecordingLog::count(5, "clear OLE Clipboard\n"), 1);
}

// As the library's own worker has it open when it looks at a change.
TEST_F(NewerCopy, OleIsAskedAgainWhileTheClipboardIsOpenElsewhere)
{
    static int refusals = 0;
    static decltype(&OleSetClipboard) real = nullptr;
    offerHeld();
    refusals = 0;
    const ImportHook<decltype(&OleSetClipboard)> hook(
        nullptr, "OleSetClipboard", +[](IDataObject* data) -> HRESULT {
            return data == nullptr && ++refusals <= 3 ? CLIPBRD_E_CANT_OPEN : real(data);
        });
    real = hook.real();
    mDelivery.run([this] { mEngine->resetOleclipboard(); });
    EXPECT_EQ(refusals, 4);
    EXPECT_FALSE(isListOnClipboard());
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

TEST_F(NewerCopy, StaysWhileItIsStillBeingInstalled)
{
    offer();
    gEarlier = TestAccess::notedObject(*mEngine)->GetRequest();
    const ImportHook<decltype(&OleSetClipboard)> hook(nullptr, "OleSetClipboard", &setAndEndTheEarlier);
    gSet = hook.real();
    offer();
    EXPECT_TRUE(isListOnClipboard());
}

// The counterpart: the earlier list stays where the new one can't be installed, and ends as any other.
TEST_F(NewerCopy, ThatCouldNotBeInstalledLeavesTheEarlierListToItsEnd)
{
    offer();
    gEarlier = TestAccess::notedObject(*mEngine)->GetRequest();
    {
        const ImportHook<decltype(&OleSetClipboard)> hook(
            nullptr, "OleSetClipboard", +[](IDataObject* object) -> HRESULT {
                return object != nullptr ? CLIPBRD_E_CANT_SET : CO_E_NOTINITIALIZED;
            });
        EXPECT_TRUE(mEngine->SetClipboardData(ClipboardFormat::File, mGuest.record));
    }
    EXPECT_TRUE(isListOnClipboard());
    onWorkThread([] { ClipboardImpl::instance()->resetOleclipboardOf(*gEarlier); });
    EXPECT_FALSE(isListOnClipboard());
}
