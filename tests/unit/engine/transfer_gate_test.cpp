// What a running transfer keeps out, and what it does not.
#include <stdexcept>

#include "clipboard_writing_fixture.h"

using namespace sd::clip;
using Microsoft::WRL::ComPtr;

namespace {

class TransferGate : public ClipboardWriting {
protected:
    void deliverAll() const
    {
        mGuest.deliver(0, "0123456789");
        mGuest.deliver(1, std::string(20, 'b'));
    }
};

}  // namespace

TEST_F(TransferGate, ARefusedListLeavesTheRunningTransferWhole)
{
    set();
    ComPtr<IStream> stream;
    ASSERT_EQ(paste(&stream), S_OK);
    mGuest.deliver(0, "01234");
    ClipDataObject* const running = TestAccess::notedObject(*mEngine);
    const auto other = std::make_shared<ClipboardFileDataImpl>();
    EXPECT_FALSE(mEngine->SetClipboardData(ClipboardFormat::File, other));
    EXPECT_EQ(lastEvent().message, "received guest file list when some file is transferring, ignore");
    EXPECT_EQ(RecordingLog::count(6, "not support set clipboard when file is transfering"), 1);
    EXPECT_EQ(TestAccess::notedObject(*mEngine), running);
    EXPECT_EQ(TestAccess::clipData(*mEngine), mGuest.record);
    EXPECT_TRUE(isListOnClipboard());

    mGuest.deliver(0, "56789");
    EXPECT_EQ(readToEnd(*stream.Get()), "0123456789");
    ASSERT_EQ(paste(&stream, 1), S_OK);
    mGuest.deliver(1, std::string(20, 'b'));
    EXPECT_EQ(readToEnd(*stream.Get()), std::string(20, 'b'));
    EXPECT_EQ(mGuest.eventsOf("endClipboardFile").size(), 1u);
    EXPECT_TRUE(mGuest.cancelled.empty());
    EXPECT_EQ(mGuest.requested.size(), 1u);
    EXPECT_TRUE(set());  // nothing transfers any more
}

TEST_F(TransferGate, DuringATransferACopyYieldsTheEventAndNoList)
{
    set();
    ASSERT_EQ(paste(), S_OK);
    mGuest.listener->clear();
    TestAccess::detectCopy(*mEngine);
    EXPECT_TRUE(mGuest.listener->reports().empty());
    EXPECT_EQ(fieldsOf(lastEvent()),
              (Fields{"clipboardFileCopy", "condition", "file", "-1",
                      "client copy file when some file is transferring, ignore", "sucess", "", ""}));
    EXPECT_EQ(RecordingLog::count(6, "not support onDetectCopy when file is transferring"), 1);
}

TEST_F(TransferGate, DuringATransferTheRenderersOwnChangeIsConsumedWithoutAnEvent)
{
    set();
    ASSERT_EQ(paste(), S_OK);
    mGuest.listener->clear();
    RecordingLog::clear();
    TestAccess::setPendingOwnCopy(*mEngine);
    TestAccess::detectCopy(*mEngine);
    EXPECT_TRUE(mGuest.listener->reports().empty());
    EXPECT_TRUE(mGuest.listener->events().empty());
    EXPECT_EQ(RecordingLog::messages(),
              (std::vector<std::string>{"Consume file lazy renderer copy 1",
                                        "File clipboard lazy renderer is ready, skip onDetectCopy"}));

    TestAccess::detectCopy(*mEngine);  // the flag answers for one change
    EXPECT_TRUE(mGuest.listener->reports().empty());
    EXPECT_EQ(lastEvent().message, "client copy file when some file is transferring, ignore");
}

TEST_F(TransferGate, ACopyThatWasIgnoredIsNotReportedWhenTheTransferHasEnded)
{
    set();
    ComPtr<IStream> stream;
    ASSERT_EQ(paste(&stream), S_OK);
    TestAccess::detectCopy(*mEngine);
    mGuest.listener->clear();
    deliverAll();
    EXPECT_EQ(readToEnd(*stream.Get()), "0123456789");
    EXPECT_EQ(mGuest.eventsOf("endClipboardFile").size(), 1u);
    EXPECT_FALSE(mGuest.listener->waitForReports(1, 300));
    TestAccess::detectCopy(*mEngine);  // the next change counts again
    EXPECT_EQ(mGuest.listener->reports().size(), 1u);
}

TEST_F(TransferGate, ATextCopyDuringATransferStaysAndCancelsIt)
{
    set();
    ASSERT_EQ(paste(), S_OK);
    mGuest.deliver(0, "01234");
    RecordingLog::clear();
    ClipboardOwner().putText(L"the user's");
    ASSERT_TRUE(RecordingLog::waitForLine(5, "mClipDataObject="));  // the last line of the data object's end
    EXPECT_EQ(mGuest.cancelled, std::vector<std::string>{"file0"});
    mGuest.deliver(0, "56789");
    EXPECT_EQ(RecordingLog::count(6, "mClipData is nullptr. maybe use canceled."), 1);
    EXPECT_EQ(RecordingLog::count(5, "clear OLE Clipboard\n"), 0);
    EXPECT_TRUE(IsClipboardFormatAvailable(CF_UNICODETEXT));
}

// ---- A request that its own function ends ----

TEST_F(TransferGate, ARequestFunctionThatThrowsKeepsNoLaterListOut)
{
    mGuest.record->SetFileFuncs(
        [](const ClipfileDescription&, const FileDataRequestCallback&) -> std::string {
            throw std::runtime_error("the host's");
        },
        nullptr);
    set();
    EXPECT_NE(paste(), S_OK);
    TestAccess::detectCopy(*mEngine);
    EXPECT_EQ(mGuest.listener->reports().size(), 1u);
    EXPECT_TRUE(set());
    EXPECT_NE(paste(), S_OK);  // and is asked again
    EXPECT_EQ(mGuest.eventsOf("triggerClipboardFilePaste").size(), 2u);
}

// ---- From inside a paste ----

TEST_F(TransferGate, AListFromInsideAPasteIsRefusedAtOnce)
{
    // on the thread that serves OLE, and under the data lock
    bool fromEvent = true;
    bool fromVeto = true;
    mGuest.listener->duringEvent = [&](const RecordedEvent& event) {
        if (event.operation == "clientPaste")
            fromEvent = set();
    };
    mGuest.record->SetOLEClipboardPasteFunc([&] {
        fromVeto = set();
        return true;
    });
    set();
    EXPECT_EQ(paste(), S_OK);
    EXPECT_FALSE(fromEvent);
    EXPECT_FALSE(fromVeto);
    EXPECT_EQ(RecordingLog::count(6, "not support set clipboard from inside a paste"), 2);
}

TEST_F(TransferGate, AListFromTheEventOfTheEndIsRefusedAtOnce)
{
    bool fromEnd = true;
    bool lazily = true;
    set();
    ASSERT_EQ(paste(), S_OK);
    mGuest.listener->duringEvent = [&](const RecordedEvent& event) {
        if (event.operation != "endClipboardFile")
            return;
        fromEnd = set();
        lazily = mEngine->SetClipboardData(ClipboardFormat::FileLazy, mGuest.record);
    };
    deliverAll();
    EXPECT_FALSE(fromEnd);
    EXPECT_FALSE(lazily);
    EXPECT_TRUE(set());
}
