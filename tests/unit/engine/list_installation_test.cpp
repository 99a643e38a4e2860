// A list that the work thread can't put on the clipboard.
#include <shlwapi.h>

#include <chrono>

#include "clipboard_writing_fixture.h"
#include "data_object/slice_path.h"
#include "data_object/standing_lists.h"
#include "data_object/transfer_files.h"
#include "workthread/remote_format_file.h"

using namespace sd::clip;

namespace {

using Messages = std::vector<std::string>;

class ListInstallation : public ClipboardWriting {
protected:
    // The host is told "complete" whatever the work thread made of the list, and the next list is none the worse.
    void expectCompleteInVain()
    {
        mGuest.listener->clear();
        EXPECT_TRUE(set());
        ASSERT_EQ(mGuest.listener->events().size(), 1u);
        EXPECT_EQ(lastEvent().stage, "setComplete");
        EXPECT_FALSE(isListOnClipboard());
        EXPECT_FALSE(RecordingLog::hasLine(5, "OLE Clipboard Set Done"));
    }

    // It has died, and the engine has forgotten it. That of a failed OleSetClipboard stays.
    void expectNoObjectLeft()
    {
        EXPECT_EQ(TestAccess::notedObject(*mEngine), nullptr);
        EXPECT_TRUE(RecordingLog::hasLine(5, "destroy "));
    }
};

}  // namespace

TEST_F(ListInstallation, AJobThatTheWorkThreadDoesNotTakeIsWithdrawnWithItsObject)
{
    set();
    waitForWorkThread();
    RecordingLog::clear();
    {
        const ImportHook<decltype(&PostThreadMessageW)> hook(
            nullptr, "PostThreadMessageW", +[](DWORD, UINT, WPARAM, LPARAM) -> BOOL { return TRUE; });
        TestAccess::setLongestInstall(*mEngine, std::chrono::seconds(0));
        EXPECT_FALSE(set());
        TestAccess::setLongestInstall(*mEngine, std::chrono::seconds(3600));
    }
    EXPECT_EQ(lastEvent().errorCode, "1501");
    EXPECT_EQ(TestAccess::notedObject(*mEngine), nullptr);
    EXPECT_TRUE(set());
    EXPECT_TRUE(isListOnClipboard());
    EXPECT_EQ(RecordingLog::count(5, "OLE Clipboard Set Done\n"), 1);
}

TEST_F(ListInstallation, AFutureWithoutAStateYieldsFalseAndNoEvent)
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

TEST_F(ListInstallation, AnErrorOfAFutureThatComesWhileTheJobIsPlacedIsCaughtToo)
{
    set();
    waitForWorkThread();
    mGuest.listener->clear();
    {
        const ImportHook<decltype(&PostThreadMessageW)> hook(
            nullptr, "PostThreadMessageW", +[](DWORD, UINT, WPARAM, LPARAM) -> BOOL { return TRUE; });
        RemoteFormatFile& thread = RemoteFormatFile::Instance();
        const auto waiting = thread.MoveToThread([] {});
        TestAccess::waitingPromise(thread).set_value(FuncExecStatus::Executed);  // so it can't be discarded
        EXPECT_FALSE(set());
    }
    EXPECT_TRUE(RecordingLog::hasLine(6, "handle future error code 3, "));
    EXPECT_TRUE(mGuest.listener->events().empty());
    EXPECT_TRUE(set());
    EXPECT_TRUE(isListOnClipboard());
}

TEST_F(ListInstallation, AThreadThatCanNotJoinOleIsLoggedTwice)
{
    {
        const ImportHook<decltype(&OleInitialize)> hook(
            nullptr, "OleInitialize", +[](LPVOID) -> HRESULT { return E_OUTOFMEMORY; });
        expectCompleteInVain();
    }
    EXPECT_EQ(RecordingLog::messages(6), (Messages{"ole initialize failed", "OLE Clipboard data init fail. ret:-1\n"}));
    expectNoObjectLeft();
    EXPECT_TRUE(set());
    EXPECT_TRUE(isListOnClipboard());
}

TEST_F(ListInstallation, AnObjectThatGivesNoInterfaceIsLoggedWithBothNumbers)
{
    {
        const ImportHook<decltype(&QISearch)> hook(
            nullptr, "QISearch", +[](void*, LPCQITAB, REFIID, void** object) -> HRESULT {
                *object = nullptr;
                SetLastError(1234);
                return E_NOINTERFACE;
            });
        expectCompleteInVain();
    }
    EXPECT_EQ(RecordingLog::messages(6), Messages{"QueryInterface return -2147467262 error code: 1234"});
    expectNoObjectLeft();
    EXPECT_TRUE(set());
    EXPECT_TRUE(isListOnClipboard());
}

TEST_F(ListInstallation, AFailedOleSetClipboardIsLoggedWithTheQuerysResultAndKeepsItsObject)
{
    {
        const ImportHook<decltype(&OleSetClipboard)> hook(
            nullptr, "OleSetClipboard", +[](IDataObject* object) -> HRESULT {
                SetLastError(1234);
                return object != nullptr ? CLIPBRD_E_CANT_SET : S_OK;
            });
        expectCompleteInVain();
    }
    EXPECT_EQ(RecordingLog::count(5, "OleSetClipboard return 0  error code : 1234"), 1);
    ClipDataObject* const kept = TestAccess::notedObject(*mEngine);
    ASSERT_NE(kept, nullptr);
    // Nobody can read from it, so a cleaning spares none of its slices.
    const std::string slice = MakeSlicePath("", MakeFileKey(mGuest.files[0]), 0);
    EXPECT_FALSE(StandingLists::Instance().OwnSlice(std::wstring(slice.begin(), slice.end())));
    EXPECT_TRUE(set());
    EXPECT_TRUE(isListOnClipboard());
    EXPECT_TRUE(StandingLists::Instance().OwnSlice(std::wstring(slice.begin(), slice.end())));
    // Nobody holds it any more, and it stays: its one reference is nobody's.
    EXPECT_EQ(RecordingLog::count(5, "destroy " + printAddress(kept)), 0);
    EXPECT_EQ(kept->AddRef(), 2u);
    kept->Release();
    EXPECT_EQ(kept->Release(), 0u);
}
