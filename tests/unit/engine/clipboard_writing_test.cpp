#include <gtest/gtest.h>
#include <ole2.h>
#include <wrl/client.h>

#include <chrono>
#include <future>

#include "../data_object/guest_list.h"
#include "engine_access.h"
#include "support/clipboard_owner.h"
#include "support/import_hook.h"
#include "support/recording_log.h"

using namespace sd::clip;
using Microsoft::WRL::ComPtr;

namespace {

const CLIPFORMAT kContents = static_cast<CLIPFORMAT>(RegisterClipboardFormatW(L"FileContents"));

// The one engine with a listener, a guest's list, and a thread that joined OLE as a pasting application.
class ClipboardWriting : public testing::Test {
protected:
    ClipboardWriting()
    {
        OleInitialize(nullptr);
        RecordingLog::clear();
    }
    ~ClipboardWriting() override
    {
        ClipboardOwner().putNothing();
        OleUninitialize();
    }

    bool set()
    {
        return mEngine->SetClipboardData(ClipboardFormat::File, mGuest.record);
    }

    // Asks for contents as another program does; the transfer is under way then.
    HRESULT paste(ComPtr<IStream>* stream = nullptr)
    {
        ComPtr<IDataObject> data;
        if (FAILED(OleGetClipboard(data.GetAddressOf())))
            return E_FAIL;
        FORMATETC format = {kContents, nullptr, DVASPECT_CONTENT, 0, TYMED_ISTREAM};
        STGMEDIUM medium;
        const HRESULT result = data->GetData(&format, &medium);
        if (result == S_OK && stream != nullptr)
            *stream = medium.pstm;
        if (result == S_OK)
            ReleaseStgMedium(&medium);
        return result;
    }

    // The same on the object itself. Wine holds the clipboard open while OLE's own object asks ours, and what empties
    // the clipboard meanwhile fails there though not on Windows.
    HRESULT pasteDirectly()
    {
        const ComPtr<IDataObject> data(TestAccess::notedObject(*mEngine));
        FORMATETC format = {kContents, nullptr, DVASPECT_CONTENT, 0, TYMED_ISTREAM};
        STGMEDIUM medium;
        const HRESULT result = data->GetData(&format, &medium);
        if (result == S_OK)
            ReleaseStgMedium(&medium);
        return result;
    }

    RecordedEvent lastEvent() const
    {
        return mGuest.listener->events().empty() ? RecordedEvent() : mGuest.listener->events().back();
    }

    const std::shared_ptr<ClipboardImpl> mEngine = ClipboardImpl::instance();
    GuestList mGuest{{10, 20}};
};

}  // namespace

TEST_F(ClipboardWriting, AListFromTheGuestStandsOnTheClipboard)
{
    EXPECT_TRUE(set());
    EXPECT_TRUE(IsClipboardFormatAvailable(kContents));
    const RecordedEvent event = lastEvent();
    EXPECT_EQ(event.operation, "setClipboard");
    EXPECT_EQ(event.stage, "setComplete");
    EXPECT_EQ(event.number, 2);
    EXPECT_EQ(event.message, "set guest file list to clipboard complete");
    EXPECT_EQ(event.result, "sucess");
    EXPECT_EQ(event.thread, std::this_thread::get_id());
    EXPECT_EQ(RecordingLog::messages(5).at(0), "Enter");
    EXPECT_EQ(RecordingLog::count(5, "Empty OLE Clipboard data\n"), 1);
    EXPECT_EQ(RecordingLog::count(5, "OLE Clipboard Set Done\n"), 1);
    EXPECT_EQ(TestAccess::clipData(*mEngine), mGuest.record);
    EXPECT_TRUE(mGuest.requested.empty());
}

TEST_F(ClipboardWriting, ACallerThatJoinedOleAndPumpsNothingIsNotHeldUp)
{
    set();  // this thread owns the emptied clipboard during the next call
    const auto begun = std::chrono::steady_clock::now();
    EXPECT_TRUE(set());
    EXPECT_LT(std::chrono::steady_clock::now() - begun, std::chrono::seconds(3));
}

TEST_F(ClipboardWriting, ASecondListReplacesTheFirstWhileNothingTransfers)
{
    set();
    ClipDataObject* const first = TestAccess::notedObject(*mEngine);
    EXPECT_TRUE(set());
    EXPECT_NE(TestAccess::notedObject(*mEngine), nullptr);
    EXPECT_TRUE(RecordingLog::hasLine(5, "destroy "));
    EXPECT_NE(first, nullptr);
}

TEST_F(ClipboardWriting, AnyFormatButTheLazyOneTakesTheSameRoute)
{
    EXPECT_TRUE(mEngine->SetClipboardData(static_cast<ClipboardFormat>(77), mGuest.record));
    EXPECT_TRUE(IsClipboardFormatAvailable(kContents));
}

TEST_F(ClipboardWriting, AGuestThatIsNotSupportedIsRefusedWithItsCount)
{
    mEngine->SetFileClipboardSupported(false);
    EXPECT_FALSE(set());
    mEngine->SetFileClipboardSupported(true);
    EXPECT_EQ(lastEvent().message, "received guest file list but guest not support");
    EXPECT_EQ(lastEvent().stage, "condition");
    EXPECT_EQ(lastEvent().number, 2);
    EXPECT_EQ(RecordingLog::messages(5), (std::vector<std::string>{"Enter", "Qsp file clipboard disabled"}));
}

TEST_F(ClipboardWriting, AnEmptyListAndNoRecordCountZero)
{
    EXPECT_TRUE(mEngine->SetClipboardData(ClipboardFormat::File, ClipboardFileData::Create()));
    EXPECT_EQ(lastEvent().number, 0);
    EXPECT_TRUE(mEngine->SetClipboardData(ClipboardFormat::File, nullptr));
    EXPECT_EQ(lastEvent().number, 0);
}

TEST_F(ClipboardWriting, TheLazyRouteTakesFileRecordsOnlyAndSendsNoEvent)
{
    for (const auto& other : {std::shared_ptr<ClipboardData>(),
                              std::shared_ptr<ClipboardData>(std::make_shared<ClipboardTextDataImpl>())}) {
        RecordingLog::clear();
        EXPECT_FALSE(mEngine->SetClipboardData(ClipboardFormat::FileLazy, other));
        EXPECT_EQ(RecordingLog::messages(),
                  (std::vector<std::string>{"Enter", "Use file lazy renderer to handle file clipboard data",
                                            "No file record to render lazily"}));
    }
    EXPECT_TRUE(mGuest.listener->events().empty());
}

TEST_F(ClipboardWriting, TheReportOfALazyRenderingIsForwarded)
{
    mEngine->NotifyFileLazyRenderingComplete(-1);
    EXPECT_EQ(RecordingLog::messages(5), (std::vector<std::string>{"Notify file lazy rendering result -1",
                                                                   "Notify file lazy rendering copy done(-1)",
                                                                   "FileLazyRenderingPromise is NULL!"}));
}

TEST_F(ClipboardWriting, DuringATransferAListIsRefusedAndTheTransferGoesOn)
{
    set();
    ASSERT_EQ(paste(), S_OK);
    EXPECT_FALSE(set());
    EXPECT_EQ(lastEvent().message, "received guest file list when some file is transferring, ignore");
    EXPECT_EQ(lastEvent().number, 2);
    EXPECT_EQ(RecordingLog::count(6, "not support set clipboard when file is transfering"), 1);
    EXPECT_TRUE(mGuest.cancelled.empty());
    EXPECT_TRUE(IsClipboardFormatAvailable(kContents));
}

TEST_F(ClipboardWriting, DuringATransferACopyYieldsTheEventAndNoList)
{
    set();
    ASSERT_EQ(paste(), S_OK);
    mGuest.listener->clear();
    TestAccess::detectCopy(*mEngine);
    EXPECT_TRUE(mGuest.listener->reports().empty());
    EXPECT_EQ(lastEvent().operation, "clipboardFileCopy");
    EXPECT_EQ(lastEvent().message, "client copy file when some file is transferring, ignore");
    EXPECT_EQ(lastEvent().number, -1);
    EXPECT_EQ(RecordingLog::count(6, "not support onDetectCopy when file is transferring"), 1);
}

TEST_F(ClipboardWriting, OwnListsAreNoCopiesOfTheUser)
{
    set();
    TestAccess::detectCopy(*mEngine);
    EXPECT_EQ(mGuest.listener->reports(), std::vector<std::vector<ClipboardFormat>>{{}});
}

TEST_F(ClipboardWriting, AFailedTransferEmptiesTheClipboard)
{
    set();
    ComPtr<IStream> stream;
    ASSERT_EQ(paste(&stream), S_OK);
    mEngine->NotifyFileTransferFailed(2);
    EXPECT_TRUE(IsClipboardFormatAvailable(kContents));
    EXPECT_EQ(RecordingLog::count(5, "fail:2"), 1);
    mEngine->NotifyFileTransferFailed(1);
    EXPECT_EQ(TestAccess::notedObject(*mEngine), nullptr);
    EXPECT_EQ(TestAccess::clipData(*mEngine), nullptr);
    EXPECT_EQ(RecordingLog::count(5, "Cancel file stream wait."), 1);
    EXPECT_FALSE(IsClipboardFormatAvailable(kContents));
    EXPECT_TRUE(set());  // the next list works
}

TEST_F(ClipboardWriting, AFailureReportWithoutATransferIsLoggedOnly)
{
    mEngine->NotifyFileTransferFailed(1);
    set();
    mEngine->NotifyFileTransferFailed(1);
    EXPECT_EQ(RecordingLog::count(6, "clipboard file request is not transfering"), 1);
    EXPECT_TRUE(IsClipboardFormatAvailable(kContents));
}

TEST_F(ClipboardWriting, WithoutAnObjectAFailureReportSaysSo)
{
    set();
    ASSERT_EQ(paste(), S_OK);
    mEngine->NotifyFileTransferFailed(1);
    RecordingLog::clear();
    mEngine->NotifyFileTransferFailed(1);
    EXPECT_EQ(RecordingLog::messages(),
              (std::vector<std::string>{"fail:1", "ClipDataObject is nullptr, don't need reset oleclipboard"}));
}

TEST_F(ClipboardWriting, AFailureReportFromInsideTheRequestFunctionEndsTheTransfer)
{
    mGuest.record->SetFileFuncs(
        [this](const ClipfileDescription&, const FileDataSink&) {
            mEngine->NotifyFileTransferFailed(1);
            return std::string();
        },
        nullptr);
    set();
    pasteDirectly();
    EXPECT_EQ(TestAccess::notedObject(*mEngine), nullptr);
    EXPECT_FALSE(IsClipboardFormatAvailable(kContents));
    EXPECT_TRUE(set());
}

TEST_F(ClipboardWriting, AVetoEmptiesTheClipboardAndTheNextListAsksAgain)
{
    int asked = 0;
    mGuest.record->SetOLEClipboardPasteFunc([&asked] {
        ++asked;
        return false;
    });
    set();
    EXPECT_NE(pasteDirectly(), S_OK);
    EXPECT_EQ(asked, 1);
    EXPECT_EQ(RecordingLog::count(5, "clear OLE Clipboard\n"), 1);
    EXPECT_FALSE(IsClipboardFormatAvailable(kContents));
    set();
    EXPECT_NE(pasteDirectly(), S_OK);
    EXPECT_EQ(asked, 2);
}

TEST_F(ClipboardWriting, ATextCopyDuringATransferStays)
{
    set();
    ASSERT_EQ(paste(), S_OK);
    mGuest.deliver(0, "01234");
    ClipboardOwner().putText(L"the user's");
    RecordingLog::waitForLine(5, "destroy ");
    Sleep(100);
    EXPECT_TRUE(IsClipboardFormatAvailable(CF_UNICODETEXT));
    EXPECT_LE(mGuest.cancelled.size(), 1u);
}

TEST_F(ClipboardWriting, AWorkThreadThatDoesNotAnswerIsReportedWith1501)
{
    set();
    const ImportHook<decltype(&PostThreadMessageW)> hook(
        nullptr, "PostThreadMessageW", +[](DWORD, UINT, WPARAM, LPARAM) -> BOOL { return TRUE; });
    TestAccess::setLongestInstall(*mEngine, std::chrono::seconds(0));
    EXPECT_FALSE(set());
    TestAccess::setLongestInstall(*mEngine, std::chrono::seconds(3600));
    const RecordedEvent event = lastEvent();
    EXPECT_EQ(event.stage, "setFail");
    EXPECT_EQ(event.message, "set guest file list to clipboard fail");
    EXPECT_EQ(event.result, "error");
    EXPECT_EQ(event.errorCode, "1501");
    EXPECT_EQ(event.errorDetail, "set data to ole clipboard fail");
    EXPECT_EQ(event.number, 2);
}

TEST_F(ClipboardWriting, AFutureWithoutAStateYieldsFalseAndNoEvent)
{
    set();
    mGuest.listener->clear();
    const ImportHook<decltype(&PostThreadMessageW)> hook(
        nullptr, "PostThreadMessageW", +[](DWORD, UINT, WPARAM, LPARAM) -> BOOL { return FALSE; });
    EXPECT_FALSE(set());
    EXPECT_TRUE(RecordingLog::hasLine(6, "handle future error code 4, "));
    EXPECT_TRUE(mGuest.listener->events().empty());
    EXPECT_NE(TestAccess::notedObject(*mEngine), nullptr);
}

TEST_F(ClipboardWriting, AFailedOleSetClipboardIsStillReportedAsComplete)
{
    const ImportHook<decltype(&OleSetClipboard)> hook(
        nullptr, "OleSetClipboard", +[](IDataObject* object) -> HRESULT { return object ? CLIPBRD_E_CANT_SET : S_OK; });
    EXPECT_TRUE(set());
    EXPECT_EQ(lastEvent().stage, "setComplete");
    EXPECT_TRUE(RecordingLog::hasLine(5, "OleSetClipboard return 0  error code : "));
}

TEST_F(ClipboardWriting, TwoListsAtOnceAreEachInstalledOnceAtTheMost)
{
    set();  // under Wine, OLE's window belongs to the first thread that needs it, and goes with that thread
    RecordingLog::clear();
    auto other = std::async(std::launch::async, [this] {
        OleInitialize(nullptr);
        for (int i = 0; i < 10; ++i)
            set();
        OleUninitialize();
    });
    for (int i = 0; i < 10; ++i)
        set();
    // This thread owns OLE's window, so it serves what the other's calls send to it.
    while (other.wait_for(std::chrono::milliseconds(1)) != std::future_status::ready) {
        MSG message;
        PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE);
    }
    std::size_t made = 0;
    std::size_t installed = 0;
    for (const std::string& message : RecordingLog::messages(5)) {
        made += message.find("Create new clipdataobject:") == 0 ? 1 : 0;
        installed += message == "OLE Clipboard Set Done\n" || message.find("OleSetClipboard return") == 0 ? 1 : 0;
    }
    EXPECT_EQ(made, 20u);
    EXPECT_LE(installed, made);
    EXPECT_GE(installed, 1u);
    // A message of theirs that is still on its way discards the next job, and the host is told "complete" all the same.
    for (int i = 0; i < 10 && !IsClipboardFormatAvailable(kContents); ++i)
        EXPECT_TRUE(set());
    EXPECT_TRUE(IsClipboardFormatAvailable(kContents));
}

TEST_F(ClipboardWriting, AListFromInsideAPasteIsRefusedAtOnce)
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

TEST_F(ClipboardWriting, AListFromTheEventOfTheEndIsRefusedAtOnce)
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
    mGuest.deliver(0, std::string(10, 'a'));
    mGuest.deliver(1, std::string(20, 'b'));
    EXPECT_FALSE(fromEnd);
    EXPECT_FALSE(lazily);
    EXPECT_TRUE(set());
}
