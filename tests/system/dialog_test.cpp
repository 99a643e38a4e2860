// A host that shows a dialog from inside the library's calls, on the thread that serves OLE, while its other threads go
// on. The dialog's own message loop takes what is meant for the library's.
#include <atomic>
#include <chrono>
#include <future>

#include "guest_paste.h"
#include "support/import_hook.h"
#include "support/test_roles.h"

using namespace sd::clip;

namespace {

constexpr std::chrono::seconds kHang{60};

// A real one, shown once and closed by the test.
class Dialog {
public:
    ~Dialog()
    {
        close();
    }

    // Returns when the test closes it, or at once if it was shown before.
    void show()
    {
        if (!mWasShown.exchange(true))
            MessageBoxW(nullptr, L"Paste the guest's files?", kTitle, MB_OK);
    }
    bool waitUntilShown() const
    {
        return waitUntil([] { return window() != nullptr; });
    }
    void close()
    {
        if (HWND const shown = window())
            PostMessageW(shown, WM_COMMAND, IDOK, 0);
    }

private:
    static constexpr wchar_t kTitle[] = L"a host's dialog";
    static HWND window()
    {
        return FindWindowW(nullptr, kTitle);
    }

    std::atomic<bool> mWasShown{false};
};

std::atomic<int> gPosts{0};
std::atomic<decltype(&PostThreadMessageW)> gPost{nullptr};

BOOL WINAPI countPost(DWORD thread, UINT message, WPARAM wParam, LPARAM lParam)
{
    const BOOL isPosted = gPost.load()(thread, message, wParam, lParam);
    ++gPosts;
    return isPosted;
}

constexpr wchar_t kCopyNow[] = L"dialog-test-copies-now";

// Another program that takes its time: it opens the clipboard, and empties it when it is told to.
const TestRole slowCopy("copy-slowly", [](const std::vector<std::string>&) {
    const HANDLE now = OpenEventW(SYNCHRONIZE, FALSE, kCopyNow);
    HWND const window = CreateWindowExW(0, L"STATIC", L"", 0, 0, 0, 0, 0, nullptr, nullptr, nullptr, nullptr);
    if (!waitUntil([window] { return OpenClipboard(window) != FALSE; }))
        return 1;
    std::puts("opened");
    std::fflush(stdout);
    const bool isTold = WaitForSingleObject(now, 60000) == WAIT_OBJECT_0;
    EmptyClipboard();
    CloseClipboard();
    return isTold ? 0 : 1;
});

class DialogTest : public PasteTest {
protected:
    DialogTest()
    {
        gPost = mPosts.real();
    }
    ~DialogTest() override
    {
        mHost.listenAgain();
    }

    // On a thread of the host's that has not joined OLE: the clipboard's window is the library's then, as on Windows.
    bool set(const std::shared_ptr<ClipboardFileDataImpl>& record)
    {
        return mHost.clipboard().SetClipboardData(ClipboardFormat::File, record);
    }

    std::shared_ptr<GuestList> makeNewerList()
    {
        return makeList({{"", "newer.bin", makeBytes(1500000)}, {"folder", "b.txt", "b"}});
    }

    // Another thread sets the list while the dialog is shown, whose loop takes the library's message.
    std::future<bool> startToSet(const std::shared_ptr<GuestList>& list)
    {
        EXPECT_TRUE(mDialog.waitUntilShown());
        const int posts = gPosts;
        auto taken = std::async(std::launch::async, [this, list] { return set(list->makeRecord()); });
        EXPECT_TRUE(waitUntil([posts] { return gPosts > posts; }));
        return taken;
    }

    void expectInstalled(std::future<bool>& taken, const GuestList& list, const RecordingListener& listener)
    {
        const bool isBack = taken.wait_for(kHang) == std::future_status::ready;
        EXPECT_TRUE(isBack);
        if (!isBack)
            set(makeNewerList()->makeRecord());  // whose job takes the place of the one that waits
        EXPECT_TRUE(taken.get());
        EXPECT_EQ(count(listener, "set guest file list to clipboard complete"), 1);
        EXPECT_EQ(count(listener, "set guest file list to clipboard fail"), 0);
        EXPECT_EQ(paste(L"newer"), kPasteWritten) << mOutput;
        expectPasted(list, L"newer");
    }

    // A listener that shows the dialog in that event, once.
    std::shared_ptr<RecordingListener> showDialogDuring(const std::string& operation)
    {
        auto listener = std::make_shared<RecordingListener>();
        listener->duringEvent = [this, operation](const RecordedEvent& event) {
            if (event.operation == operation)
                mDialog.show();
        };
        return listener;
    }

    void expectListDuringDialogIn(const std::string& operation)
    {
        ASSERT_TRUE(set(makeList({{"", "older.bin", "older"}})->makeRecord()));
        const auto listener = showDialogDuring(operation);
        mHost.clipboard().SetListener(listener);
        ChildProcess child = startPaste(L"older");
        const auto newer = makeNewerList();
        auto taken = startToSet(newer);
        mDialog.close();
        EXPECT_NE(child.waitForExit(), DWORD{STILL_ACTIVE}) << child.output();
        expectInstalled(taken, *newer, *listener);
    }

    static int count(const RecordingListener& listener, const std::string& message)
    {
        int count = 0;
        for (const RecordedEvent& event : listener.events())
            count += event.message == message ? 1 : 0;
        return count;
    }

    Dialog mDialog;

private:
    const ImportHook<decltype(&PostThreadMessageW)> mPosts{GetModuleHandleW(L"md-clipboard.dll"), "PostThreadMessageW",
                                                           countPost};
};

}  // namespace

TEST_F(DialogTest, AListThatIsSetDuringAVetosDialogIsInstalledAfterIt)
{
    const auto record = makeList({{"", "older.bin", "older"}})->makeRecord();
    record->SetOLEClipboardPasteFunc([this] {
        mDialog.show();
        return false;
    });
    ASSERT_TRUE(set(record));
    mHost.listener().clear();
    ChildProcess child = startPaste(L"older");
    const auto newer = makeNewerList();
    auto taken = startToSet(newer);
    EXPECT_EQ(taken.wait_for(std::chrono::milliseconds(0)), std::future_status::timeout);
    mDialog.close();
    EXPECT_EQ(child.waitForExit(), DWORD{kPasteFailed}) << child.output();
    expectInstalled(taken, *newer, mHost.listener());
}

TEST_F(DialogTest, AListThatIsSetWhileTheListenerPumpsAsAPasteComesIsInstalledAfterIt)
{
    expectListDuringDialogIn("clientPaste");
}

TEST_F(DialogTest, AListThatIsSetWhileTheListenerPumpsAsTheRequestStartsIsInstalledAfterIt)
{
    expectListDuringDialogIn("triggerClipboardFilePaste");
}

// The other program's copy ends the list by a message that it sends, inside which the host is called. The library's
// loop does not come back from its wait after such a message.
TEST_F(DialogTest, AListThatIsSetDuringACancelsDialogInAnothersCopyIsInstalledAfterIt)
{
    const auto older = makeList({{"", "older.bin", makeBytes(4000000)}}, {65536, 0, [this](std::uint64_t sent) {
                                                                              if (sent > 1500000)
                                                                                  mGate.pass();
                                                                          }});
    const auto record = older->makeRecord();
    record->SetFileFuncs(record->GetFileRequestFunc(), [this](const ClipfileDescription&) { mDialog.show(); });
    ASSERT_TRUE(set(record));
    ASSERT_EQ(paste(L"older", {L"--stop-after", L"1000"}), kPasteStopped) << mOutput;

    // The other program has the clipboard open while the host reports a failure, so the list stays there.
    const HANDLE copyNow = CreateEventW(nullptr, TRUE, FALSE, kCopyNow);
    ChildProcess other = ChildProcess::inRole(L"copy-slowly");
    ASSERT_TRUE(other.waitForOutput("opened"));
    mHost.clipboard().NotifyFileTransferFailed(1);
    SetEvent(copyNow);
    mHost.listener().clear();
    const auto newer = makeNewerList();
    auto taken = startToSet(newer);
    constexpr int kLongestWaitOfTheOther = 10000;  // under Wine it waits five seconds for the host
    other.waitForExit(kLongestWaitOfTheOther);
    mDialog.close();
    EXPECT_EQ(other.waitForExit(), 0U) << other.output();
    expectInstalled(taken, *newer, mHost.listener());
    CloseHandle(copyNow);
}
