// A list that leaves the clipboard at the word of a thread that has not joined OLE: a plain one, or one of an apartment
// that the host made for its own ends.
#include <objbase.h>

#include <optional>
#include <thread>
#include <utility>

#include "clipboard_win/list_removal.h"
#include "live_transfer.h"
#include "support/pumping_thread.h"
#include "support/wait_until.h"

using namespace sd::clip;

namespace {

constexpr DWORD kPause = 10;         // the library's own, milliseconds
constexpr int kLongestWait = 60000;  // milliseconds; for hangs only

std::atomic<decltype(&Sleep)> gSleep{nullptr};
std::atomic<decltype(&EmptyClipboard)> gEmpty{nullptr};
std::atomic<decltype(&OpenClipboard)> gOpen{nullptr};
std::atomic<DWORD> gCaller{0};          // the thread that takes the list off
std::atomic<int> gPauses{0};            // of the caller
std::function<void()> gDuringPause;     // on the caller
std::function<void()> gBeforeEmptying;  // on the caller, once
std::function<void()> gBeforeOpening;   // on the caller, once

VOID WINAPI pauseWhileWatched(DWORD milliseconds)
{
    if (GetCurrentThreadId() == gCaller && milliseconds == kPause) {
        ++gPauses;
        if (gDuringPause)
            gDuringPause();
    }
    gSleep.load()(milliseconds);
}

BOOL WINAPI openAfter(HWND window)
{
    if (GetCurrentThreadId() == gCaller && window == nullptr) {
        if (const auto before = std::exchange(gBeforeOpening, nullptr))
            before();
    }
    return gOpen.load()(window);
}

BOOL WINAPI emptyAfter()
{
    if (GetCurrentThreadId() == gCaller) {
        if (const auto before = std::exchange(gBeforeEmptying, nullptr))
            before();
    }
    return gEmpty.load()();
}

// What a thread of a host may be.
struct Apartment {
    const char* name;
    std::optional<DWORD> kind;  // none: a plain thread
};

// Runs the function on a thread of that kind, which is the same afterwards and has not left the clipboard open.
void onThreadOf(const Apartment& apartment, const std::function<void()>& function)
{
    std::thread thread([&] {
        if (apartment.kind)
            CoInitializeEx(nullptr, *apartment.kind);
        gCaller = GetCurrentThreadId();
        APTTYPE before = APTTYPE_CURRENT;
        APTTYPE after = APTTYPE_CURRENT;
        APTTYPEQUALIFIER qualifier = APTTYPEQUALIFIER_NONE;
        const HRESULT isInOneBefore = CoGetApartmentType(&before, &qualifier);
        function();
        EXPECT_EQ(CoGetApartmentType(&after, &qualifier), isInOneBefore);
        EXPECT_EQ(after, before);
        EXPECT_FALSE(CloseClipboard());
        gCaller = 0;
        if (apartment.kind)
            CoUninitialize();
    });
    thread.join();
}

const Apartment kPlain = {"Plain", std::nullopt};
const Apartment kMultithreaded = {"Multithreaded", COINIT_MULTITHREADED};
const Apartment kWithoutOle = {"SinglethreadedWithoutOle", COINIT_APARTMENTTHREADED};

class ListRemovalTest : public LiveTransfer {
protected:
    ListRemovalTest()
    {
        gSleep = mSleep.real();
        gOpen = mOpen.real();
        gEmpty = mEmpty.real();
        gPauses = 0;
    }
    ~ListRemovalTest() override
    {
        gDuringPause = nullptr;
        gBeforeOpening = nullptr;
        gBeforeEmptying = nullptr;
    }

    void beginTransfer()
    {
        offer();
        ASSERT_EQ(paste(), S_OK);
        deliver(0, "01234");
    }

    void reset(const Apartment& apartment = kPlain)
    {
        onThreadOf(apartment, [this] { mEngine->resetOleclipboard(); });
    }

    static bool isListOnClipboard()
    {
        return IsClipboardFormatAvailable(RegisterClipboardFormatW(L"FileContents")) != FALSE;
    }

    static int countLines()
    {
        return RecordingLog::count(5, "clear OLE Clipboard\n") + RecordingLog::count(5, "Empty OLE Clipboard data\n");
    }

    // After a list that has left the clipboard by the library's doing.
    void expectEmptied(const std::string& line)
    {
        EXPECT_EQ(CountClipboardFormats(), 0);
        EXPECT_EQ(RecordingLog::count(5, line), 1);
        EXPECT_EQ(countLines(), 1);
        EXPECT_TRUE(waitForDestruction());
        expectNextListWorks();
    }

    static void expectTextStays()
    {
        EXPECT_TRUE(IsClipboardFormatAvailable(CF_UNICODETEXT));
        EXPECT_EQ(countLines(), 0);
    }

private:
    const ImportHook<decltype(&Sleep)> mSleep{nullptr, "Sleep", &pauseWhileWatched};
    const ImportHook<decltype(&OpenClipboard)> mOpen{nullptr, "OpenClipboard", &openAfter};
    const ImportHook<decltype(&EmptyClipboard)> mEmpty{nullptr, "EmptyClipboard", &emptyAfter};
};

class ListRemovalOn : public ListRemovalTest, public testing::WithParamInterface<Apartment> {};

// Another program that has the clipboard open, with a window of its own and without a change.
class OpenElsewhere {
public:
    OpenElsewhere()
    {
        mThread.run([this] {
            mOwner = std::make_unique<ClipboardOwner>();
            mWindow = CreateWindowExW(0, L"STATIC", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
            EXPECT_TRUE(waitUntil([this] { return OpenClipboard(mWindow) != FALSE; }));
        });
    }
    ~OpenElsewhere()
    {
        close();
        mThread.run([this] {
            DestroyWindow(mWindow);
            mOwner.reset();
        });
    }
    OpenElsewhere(const OpenElsewhere&) = delete;
    OpenElsewhere& operator=(const OpenElsewhere&) = delete;

    void close()
    {
        mThread.run([] { CloseClipboard(); });
    }

    void copyTextAndClose()
    {
        mThread.run([this] {
            EmptyClipboard();
            mOwner->addText(L"the user's");
            CloseClipboard();
        });
    }

private:
    HWND mWindow = nullptr;
    std::unique_ptr<ClipboardOwner> mOwner;
    PumpingThread mThread;
};

// What is waiting for this thread to serve it.
bool hasSentMessage()
{
    return (HIWORD(GetQueueStatus(QS_SENDMESSAGE)) & QS_SENDMESSAGE) != 0;
}

}  // namespace

// ---- From any thread ----

TEST_P(ListRemovalOn, AReportOfAFailureTakesTheListOff)
{
    beginTransfer();
    onThreadOf(GetParam(), [this] { reportFailure(); });
    EXPECT_EQ(mGuest.cancelled, std::vector<std::string>{"file0"});
    EXPECT_EQ(read(1).result, STG_E_REVERTED);
    expectEmptied("Empty OLE Clipboard data\n");
}

TEST_P(ListRemovalOn, AReportFromInsideAnEventTakesTheListOffAfterIt)
{
    reportFailureDuring("transferFinish");
    beginTransfer();
    onThreadOf(GetParam(), [this] { mGuest.deliver(0, "56789"); });
    EXPECT_EQ(mGuest.cancelled, std::vector<std::string>{"file0"});
    expectEmptied("Empty OLE Clipboard data\n");
}

TEST_P(ListRemovalOn, ADeliveryThatFindsTheReaderSilentTakesTheListOff)
{
    beginTransfer();
    fallSilent();
    onThreadOf(GetParam(), [this] { mGuest.deliver(0, "56789"); });
    EXPECT_EQ(mGuest.cancelled, std::vector<std::string>{"file0"});
    EXPECT_EQ(read(1).result, STG_E_REVERTED);
    expectEmptied("clear OLE Clipboard\n");
}

TEST_P(ListRemovalOn, AResetTakesTheListOff)
{
    offer();
    reset(GetParam());
    expectEmptied("clear OLE Clipboard\n");
}

INSTANTIATE_TEST_SUITE_P(Apartments, ListRemovalOn, testing::Values(kPlain, kMultithreaded, kWithoutOle),
                         [](const auto& apartment) { return std::string(apartment.param.name); });

// A thread of no apartment counts to the multithreaded one where another thread has made that.
TEST_F(ListRemovalTest, AThreadThatCountsToAnApartmentOfOthersTakesTheListOff)
{
    offer();
    onThreadOf(kMultithreaded, [this] {
        std::thread([this] {
            APTTYPE type = APTTYPE_CURRENT;
            APTTYPEQUALIFIER qualifier = APTTYPEQUALIFIER_NONE;
            EXPECT_EQ(CoGetApartmentType(&type, &qualifier), S_OK);
            EXPECT_EQ(qualifier, APTTYPEQUALIFIER_IMPLICIT_MTA);
            mEngine->resetOleclipboard();
        }).join();
    });
    expectEmptied("clear OLE Clipboard\n");
}

// ---- A clipboard that somebody else has open ----

TEST_F(ListRemovalTest, AClipboardThatIsOpenForAMomentIsWaitedFor)
{
    offer();
    OpenElsewhere other;
    gDuringPause = [&] {
        EXPECT_EQ(countLines(), 0);
        EXPECT_TRUE(isListOnClipboard());
        if (gPauses == 3)
            other.close();
    };
    reset();
    EXPECT_GE(gPauses, 3);
    expectEmptied("clear OLE Clipboard\n");
}

TEST_F(ListRemovalTest, AClipboardThatStaysOpenKeepsItsListAfterASecond)
{
    offer();
    {
        const OpenElsewhere other;
        for (const Apartment& apartment : {kPlain, kMultithreaded}) {
            gPauses = 0;
            reset(apartment);
            EXPECT_EQ(gPauses, 100) << apartment.name;
            EXPECT_EQ(countLines(), 0) << apartment.name;
            EXPECT_TRUE(isListOnClipboard()) << apartment.name;
        }
    }
    reset();
    expectEmptied("clear OLE Clipboard\n");
}

TEST_F(ListRemovalTest, ACopyThatIsMadeMeanwhileStays)
{
    offer();
    OpenElsewhere other;
    gDuringPause = [&] {
        if (gPauses == 1)
            other.copyTextAndClose();
    };
    reset();
    EXPECT_EQ(gPauses, 1);
    expectTextStays();
}

TEST_F(ListRemovalTest, ACopyBetweenTheLookAndTheOpeningStays)
{
    offer();
    gBeforeOpening = [] { ClipboardOwner().putText(L"the user's"); };
    reset();
    EXPECT_FALSE(gBeforeOpening);
    expectTextStays();
}

TEST_F(ListRemovalTest, AWaitingThreadAnswersWhatIsSentToItsWindow)
{
    offer();
    OpenElsewhere other;
    HWND window = nullptr;
    std::atomic<bool> isServed{false};
    std::future<void> sending;
    // The other program closes the clipboard when the caller's window has answered, and not before.
    gDuringPause = [&] {
        if (gPauses == 1) {
            sending = std::async(std::launch::async, [&] {
                isServed = SendMessageTimeoutW(window, WM_NULL, 0, 0, SMTO_NORMAL, kLongestWait, nullptr) != 0;
                other.close();
            });
            EXPECT_TRUE(waitUntil(&hasSentMessage, kLongestWait));
        } else if (!hasSentMessage()) {
            sending.wait();
        }
    };
    onThreadOf(kPlain, [&] {
        window = CreateWindowExW(0, L"STATIC", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
        mEngine->resetOleclipboard();
        EXPECT_TRUE(isServed);
        DestroyWindow(window);
    });
    sending.wait();
    expectEmptied("clear OLE Clipboard\n");
}

// Under Wine another thread's opening can end this one's.
TEST_F(ListRemovalTest, AnOpeningThatIsLostBeforeTheEmptyingIsRepeated)
{
    offer();
    gBeforeEmptying = [] { CloseClipboard(); };
    reset();
    EXPECT_EQ(gPauses, 1);
    EXPECT_EQ(CountClipboardFormats(), 0);
    EXPECT_EQ(countLines(), 1);
    expectNextListWorks();
}

// ---- What is no list of the library's ----

TEST_F(ListRemovalTest, AResetLeavesWhatAnotherProgramHasCopied)
{
    offer();
    ClipboardOwner().putText(L"the user's");
    ASSERT_TRUE(waitForDestruction());
    reset();
    mDelivery.run([this] { mEngine->resetOleclipboard(); });
    expectTextStays();
}

TEST_F(ListRemovalTest, AListThatIsNotThereClosesNothingThatTheThreadHasOpenedItself)
{
    for (const Apartment& apartment : {kPlain, kMultithreaded, kWithoutOle}) {
        onThreadOf(apartment, [] {
            ASSERT_TRUE(OpenClipboard(nullptr));
            EXPECT_FALSE(ListRemoval([] { return false; }).isPossible());
            EXPECT_TRUE(CloseClipboard());
        });
    }
}
