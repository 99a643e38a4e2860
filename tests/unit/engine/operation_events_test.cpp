// The events of a guest's list and of its paste, each with all of its arguments, and the same without a listener. The
// event of a wait in vain is in download_timeout_test.cpp, those of copy detection are in copy_detection_test.cpp.
#include <chrono>

#include "base/unix_clock.h"
#include "clipboard_writing_fixture.h"

using namespace sd::clip;
using Microsoft::WRL::ComPtr;

namespace {

using Events = std::vector<Fields>;

class OperationEvents : public ClipboardWriting {
protected:
    // Since the last call.
    Events takeEvents() const
    {
        Events events;
        for (const RecordedEvent& event : mGuest.listener->events())
            events.push_back(fieldsOf(event));
        mGuest.listener->clear();
        return events;
    }

    void pasteTheList(ComPtr<IStream>* stream = nullptr)
    {
        ASSERT_TRUE(set());
        ASSERT_EQ(paste(stream), S_OK);
    }

    void deliverAll() const
    {
        mGuest.deliver(0, std::string(10, 'a'));
        mGuest.deliver(1, std::string(20, 'b'));
    }

    // As after an application that has read nothing for so long.
    static void fallSilent()
    {
        gReadState = ReadState::kBetweenReads;
        gLastReadTime = unixNow() - 3;
    }
};

}  // namespace

TEST_F(OperationEvents, AListForAGuestThatTakesNone)
{
    mEngine->SetFileClipboardSupported(false);
    EXPECT_FALSE(set());
    mEngine->SetFileClipboardSupported(true);
    EXPECT_EQ(takeEvents(), (Events{{"setClipboard", "condition", "file", "2",
                                     "received guest file list but guest not support", "sucess", "", ""}}));
}

TEST_F(OperationEvents, AListDuringATransfer)
{
    ASSERT_NO_FATAL_FAILURE(pasteTheList());
    takeEvents();
    EXPECT_FALSE(set());
    EXPECT_EQ(takeEvents(),
              (Events{{"setClipboard", "condition", "file", "2",
                       "received guest file list when some file is transferring, ignore", "sucess", "", ""}}));
}

TEST_F(OperationEvents, AListThatTheWorkThreadDoesNotTake)
{
    ASSERT_TRUE(set());  // starts the thread
    waitForWorkThread();
    takeEvents();
    const ImportHook<decltype(&PostThreadMessageW)> hook(
        nullptr, "PostThreadMessageW", +[](DWORD, UINT, WPARAM, LPARAM) -> BOOL { return TRUE; });
    TestAccess::setLongestInstall(*mEngine, std::chrono::seconds(0));
    EXPECT_FALSE(set());
    TestAccess::setLongestInstall(*mEngine, std::chrono::seconds(3600));
    EXPECT_EQ(takeEvents(), (Events{{"setClipboard", "setFail", "file", "2", "set guest file list to clipboard fail",
                                     "error", "1501", "set data to ole clipboard fail"}}));
}

TEST_F(OperationEvents, AListThatStandsOnTheClipboard)
{
    EXPECT_TRUE(set());
    EXPECT_EQ(takeEvents(), (Events{{"setClipboard", "setComplete", "file", "2",
                                     "set guest file list to clipboard complete", "sucess", "", ""}}));
}

TEST_F(OperationEvents, APasteAndTheRequestThatItStarts)
{
    ASSERT_TRUE(set());
    takeEvents();
    EXPECT_EQ(paste(), S_OK);
    EXPECT_EQ(
        takeEvents(),
        (Events{{"clientPaste", "getFileContent", "file", "2", "pformatetcIn->cfFormat == mFormatFileContent", "sucess",
                 "", ""},
                {"triggerClipboardFilePaste", "", "file", "-1", "start request file transfer", "sucess", "", ""}}));
    EXPECT_EQ(paste(nullptr, 1), S_OK);  // the running paste goes on
    EXPECT_EQ(takeEvents(), (Events{{"clientPaste", "getFileContent", "file", "2",
                                     "pformatetcIn->cfFormat == mFormatFileContent", "sucess", "", ""}}));
}

TEST_F(OperationEvents, AReaderWhoFellSilent)
{
    ASSERT_NO_FATAL_FAILURE(pasteTheList());
    takeEvents();
    fallSilent();
    mGuest.deliver(0, "0");
    EXPECT_EQ(takeEvents(),
              (Events{{"cancelTransfer", "userCancel", "file", "-1", "user cancel file transfer", "sucess", "", ""}}));
    EXPECT_EQ(RecordingLog::count(5, "clear OLE Clipboard\n"), 1);
    EXPECT_FALSE(isListOnClipboard());
}

TEST_F(OperationEvents, FilesAndAListThatHaveArrived)
{
    ASSERT_NO_FATAL_FAILURE(pasteTheList());
    takeEvents();
    deliverAll();
    EXPECT_EQ(takeEvents(),
              (Events{{"transferFinish", "oneFileFinish", "file", "10", "readySize/fileSize:10/10", "sucess", "", ""},
                      {"transferFinish", "oneFileFinish", "file", "20", "readySize/fileSize:20/20", "sucess", "", ""},
                      {"endClipboardFile", "", "file", "30", "all file transfer complete", "sucess", "", ""}}));
}

// ---- Without a listener ----

TEST_F(OperationEvents, WithoutAListenerAPasteGoesOnToItsEnd)
{
    mEngine->SetListener(nullptr);
    ComPtr<IStream> stream;
    ASSERT_NO_FATAL_FAILURE(pasteTheList(&stream));
    deliverAll();
    EXPECT_EQ(readToEnd(*stream.Get()), std::string(10, 'a'));
    ASSERT_EQ(paste(&stream, 1), S_OK);
    EXPECT_EQ(readToEnd(*stream.Get()), std::string(20, 'b'));
    EXPECT_EQ(RecordingLog::count(5, "all file download finish."), 1);
    EXPECT_TRUE(mGuest.cancelled.empty());
    EXPECT_TRUE(set());
}

TEST_F(OperationEvents, WithoutAListenerAUserMayCancelAndAHostMayVeto)
{
    mEngine->SetListener(nullptr);
    ASSERT_NO_FATAL_FAILURE(pasteTheList());
    fallSilent();
    mGuest.deliver(0, "0");
    EXPECT_EQ(mGuest.cancelled, std::vector<std::string>{"file0"});
    EXPECT_FALSE(isListOnClipboard());
    mGuest.record->SetOLEClipboardPasteFunc([] { return false; });
    ASSERT_TRUE(set());
    EXPECT_EQ(pasteDirectly(), DV_E_FORMATETC);
    EXPECT_FALSE(isListOnClipboard());
}

TEST_F(OperationEvents, WithoutAListenerListsAreRefusedAllTheSame)
{
    mEngine->SetListener(nullptr);
    ASSERT_NO_FATAL_FAILURE(pasteTheList());
    EXPECT_FALSE(set());
    mEngine->SetFileClipboardSupported(false);
    EXPECT_FALSE(set());
    mEngine->SetFileClipboardSupported(true);
    EXPECT_EQ(RecordingLog::count(6, "not support set clipboard when file is transfering"), 1);
    EXPECT_EQ(RecordingLog::count(5, "Qsp file clipboard disabled"), 1);
}
