#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <thread>

#include "engine_access.h"
#include "example_support/wine_window_fix.h"
#include "support/clipboard_owner.h"
#include "support/import_hook.h"
#include "support/pumping_thread.h"
#include "support/recording_listener.h"
#include "support/recording_log.h"

using namespace sd::clip;
using Clock = std::chrono::steady_clock;

namespace {

WNDCLASSEXA gClass;
decltype(&RegisterClassExA) gRealRegister = nullptr;

ATOM WINAPI keepClass(const WNDCLASSEXA* windowClass)
{
    gClass = *windowClass;
    const ATOM atom = gRealRegister(windowClass);
    SetLastError(0);
    return atom;
}

HWND WINAPI failToCreate(DWORD, LPCSTR, LPCSTR, DWORD, int, int, int, int, HWND, HMENU, HINSTANCE, LPVOID)
{
    SetLastError(8);
    return nullptr;
}

HWND gMade = nullptr;

HWND WINAPI createWithStaleError(DWORD, LPCSTR, LPCSTR, DWORD, int, int, int, int, HWND, HMENU, HINSTANCE, LPVOID)
{
    gMade = CreateWindowExW(0, L"STATIC", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
    SetLastError(1400);
    return gMade;
}

struct CreateCall {
    DWORD exStyle, style;
    std::string className, title;
    int x, y, width, height;
    HWND parent;
    HMENU menu;
    HINSTANCE module;
    LPVOID parameter;
} gCreate;

HWND WINAPI keepCreateCall(DWORD exStyle, LPCSTR className, LPCSTR title, DWORD style, int x, int y, int width,
                           int height, HWND parent, HMENU menu, HINSTANCE module, LPVOID parameter)
{
    gCreate = {exStyle, style, className, title, x, y, width, height, parent, menu, module, parameter};
    SetLastError(0);
    return reinterpret_cast<HWND>(0x1234);
}

// The engine with its window on a thread that pumps, as a host has it.
class MessageWindow : public testing::Test {
protected:
    // What an earlier test has left to the worker is no report of this one.
    MessageWindow()
    {
        workerThread();
        mEngine->SetListener(mListener);
        mEngine->SetFileClipboardSupported(true);
    }

    ~MessageWindow() override
    {
        mEngine->SetListener(nullptr);
        mThread.run([this] {
            if (TestAccess::window(*mEngine) != nullptr)
                DestroyWindow(TestAccess::window(*mEngine));
        });
    }

    bool init()
    {
        bool result = true;
        mThread.run([&] {
            SetLastError(0);
            result = mEngine->Init();
        });
        return result;
    }

    // Ends the first report, so that only what follows is recorded.
    void initAndLetTheFirstReportThrough()
    {
        init();
        ASSERT_TRUE(RecordingLog::waitForLine(5, "Sync clipboard to client end."));
        ASSERT_TRUE(mListener->waitForReports(1));
        mListener->clear();
    }

    // The registration of the class may log before, when an earlier test registered it.
    static void expectEndOfLog(const std::vector<std::string>& messages)
    {
        const std::vector<std::string> all = RecordingLog::messages();
        ASSERT_GE(all.size(), messages.size());
        EXPECT_EQ(std::vector<std::string>(all.end() - static_cast<std::ptrdiff_t>(messages.size()), all.end()),
                  messages);
    }

    void listenWith(const std::function<void(const std::vector<ClipboardFormat>&)>& duringFormats)
    {
        mListener = std::make_shared<RecordingListener>();
        mListener->duringFormats = duringFormats;
        mEngine->SetListener(mListener);
    }

    // Asks the worker, so nothing earlier is left to it.
    std::thread::id workerThread()
    {
        return TestAccess::workerThread(*mEngine);
    }

    HWND window() const
    {
        return TestAccess::window(*mEngine);
    }

    const std::shared_ptr<ClipboardImpl> mEngine = ClipboardImpl::instance();
    std::shared_ptr<RecordingListener> mListener = std::make_shared<RecordingListener>();
    const WineWindowFix mFix{nullptr};
    PumpingThread mThread;
};

}  // namespace

TEST_F(MessageWindow, InitReturnsFalseAfterAFullSuccess)
{
    EXPECT_FALSE(init());
    EXPECT_TRUE(IsWindow(window()));
    EXPECT_EQ(RecordingLog::count(5, "Create Windows done!\n"), 1);
    EXPECT_EQ(RecordingLog::count(5, "Init end."), 1);
    EXPECT_TRUE(RecordingLog::messages(6).empty());
    EXPECT_FALSE(IsWindowVisible(window()));
    EXPECT_EQ(GetWindowThreadProcessId(window(), nullptr), mThread.id());
    EXPECT_TRUE(RecordingLog::waitForLine(5, "Sync clipboard to client end."));
}

TEST_F(MessageWindow, WhatTheClipboardHoldsIsReportedTwoSecondsAfterInit)
{
    ClipboardOwner().putDropList({L"C:\\windows"});
    const auto begun = Clock::now();
    init();
    EXPECT_TRUE(RecordingLog::waitForLine(5, "Sync clipboard to client begin."));
    EXPECT_TRUE(mListener->waitForFiles());
    EXPECT_GE(Clock::now() - begun, std::chrono::milliseconds(1990));
    EXPECT_TRUE(RecordingLog::waitForLine(5, "Sync clipboard to client end."));
    EXPECT_EQ(mListener->threadOfLastReport(), workerThread());
}

TEST_F(MessageWindow, AClipboardChangeIsReportedOnTheWorker)
{
    initAndLetTheFirstReportThrough();
    ClipboardOwner().putText(L"text");
    ASSERT_TRUE(mListener->waitForReports(1));
    EXPECT_EQ(mListener->threadOfLastReport(), workerThread());
}

TEST_F(MessageWindow, AnIgnoredCopyIsReportedOnTheWorker)
{
    initAndLetTheFirstReportThrough();
    mEngine->SetFileClipboardSupported(false);
    ClipboardOwner().putDropList({L"C:\\windows"});
    ASSERT_TRUE(mListener->waitForReports(1));
    ASSERT_FALSE(mListener->events().empty());
    EXPECT_EQ(mListener->events()[0].thread, workerThread());
}

TEST_F(MessageWindow, AfterUnInitAChangeIsNotReportedAndTheEngineStays)
{
    init();
    EXPECT_TRUE(RecordingLog::waitForLine(5, "Sync clipboard to client end."));
    bool result = true;
    mThread.run([&] { result = mEngine->UnInit(); });
    EXPECT_FALSE(result);
    EXPECT_TRUE(IsWindow(window()));
    EXPECT_EQ(Clipboard::Get(), std::static_pointer_cast<Clipboard>(mEngine));
    EXPECT_TRUE(mListener->waitForReports(1));  // lets the first report through
    mListener->clear();
    ClipboardOwner().putText(L"text");
    EXPECT_FALSE(mListener->waitForReports(1, 300));
}

TEST_F(MessageWindow, InitAfterUnInitReportsCopiesAgain)
{
    initAndLetTheFirstReportThrough();
    const HWND first = window();
    mThread.run([&] { mEngine->UnInit(); });
    RecordingLog::clear();
    initAndLetTheFirstReportThrough();  // the further sync reports what the clipboard holds
    EXPECT_NE(window(), first);
    EXPECT_EQ(GetWindowThreadProcessId(window(), nullptr), mThread.id());
    ClipboardOwner().putDropList({L"C:\\windows"});
    EXPECT_TRUE(mListener->waitForFiles(0, 30000));
    EXPECT_EQ(mListener->threadOfLastReport(), workerThread());
    mThread.run([first] { DestroyWindow(first); });
}

TEST_F(MessageWindow, ASecondInitMakesAFurtherWindowThoughItsClassIsThereAlready)
{
    init();
    const HWND first = window();
    RecordingLog::clear();
    init();
    EXPECT_NE(window(), first);
    EXPECT_TRUE(IsWindow(first));
    EXPECT_EQ(RecordingLog::count(7,
                                  "RegisterClassEx failed. error\xEF\xBF\xBD\xEF\xBF\xBD"
                                  "1410"),
              1);
    EXPECT_EQ(RecordingLog::count(5, "Init end."), 1);
    mThread.run([first] { DestroyWindow(first); });
    EXPECT_TRUE(RecordingLog::waitForLine(5, "Sync clipboard to client end."));
}

TEST_F(MessageWindow, TheWindowClassAndTheWindowAreMadeAsHostsKnowThem)
{
    const ImportHook<decltype(&RegisterClassExA)> registering(nullptr, "RegisterClassExA", &keepClass);
    gRealRegister = registering.real();
    const ImportHook<decltype(&CreateWindowExA)> creating(nullptr, "CreateWindowExA", &keepCreateCall);
    EXPECT_EQ(TestAccess::initInstance(*mEngine), reinterpret_cast<HWND>(0x1234));

    EXPECT_EQ(gClass.cbSize, 80u);
    EXPECT_EQ(gClass.style, 3u);
    EXPECT_EQ(gClass.cbClsExtra + gClass.cbWndExtra, 0);
    EXPECT_EQ(gClass.hInstance, nullptr);
    EXPECT_EQ(gClass.hIcon, nullptr);
    EXPECT_EQ(gClass.hCursor, LoadCursorW(nullptr, IDC_ARROW));
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(gClass.hbrBackground), 6u);
    EXPECT_STREQ(gClass.lpszMenuName, "");
    EXPECT_STREQ(gClass.lpszClassName, "ClipSDK");
    EXPECT_EQ(gClass.hIconSm, nullptr);

    EXPECT_EQ(gCreate.exStyle, 0u);
    EXPECT_EQ(gCreate.className, "ClipSDK");
    EXPECT_EQ(gCreate.title, "ClipSDK");
    EXPECT_EQ(gCreate.style, 0xCF0000u);
    EXPECT_EQ(gCreate.x, static_cast<int>(CW_USEDEFAULT));
    EXPECT_EQ(gCreate.width, static_cast<int>(CW_USEDEFAULT));
    EXPECT_EQ(gCreate.y + gCreate.height, 0);
    EXPECT_EQ(gCreate.parent, nullptr);
    EXPECT_EQ(gCreate.menu, nullptr);
    EXPECT_EQ(gCreate.module, nullptr);
    EXPECT_EQ(gCreate.parameter, nullptr);
}

TEST_F(MessageWindow, AFailedRegistrationIsLoggedAndInitGoesOn)
{
    const ImportHook<decltype(&RegisterClassExA)> hook(
        nullptr, "RegisterClassExA", +[](const WNDCLASSEXA*) -> ATOM {
            SetLastError(87);
            return 0;
        });
    const ImportHook<decltype(&CreateWindowExA)> creating(nullptr, "CreateWindowExA", &keepCreateCall);
    EXPECT_NE(TestAccess::initInstance(*mEngine), nullptr);
    EXPECT_EQ(RecordingLog::messages(7),
              std::vector<std::string>{"RegisterClassEx failed. error\xEF\xBF\xBD\xEF\xBF\xBD"
                                       "87"});
    EXPECT_EQ(RecordingLog::count(5, "Create Windows done!\n"), 1);
}

TEST_F(MessageWindow, WithoutAWindowInitListensToNothing)
{
    const ImportHook<decltype(&CreateWindowExA)> hook(nullptr, "CreateWindowExA", &failToCreate);
    const ImportHook<decltype(&AddClipboardFormatListener)> listening(
        nullptr, "AddClipboardFormatListener", +[](HWND) -> BOOL {
            ADD_FAILURE() << "listens without a window";
            return FALSE;
        });
    EXPECT_FALSE(init());
    EXPECT_EQ(window(), nullptr);
    expectEndOfLog({"CreateWindow return zero, err: 8", "InitInstance fail"});
    EXPECT_FALSE(RecordingLog::waitForLine(5, "Sync clipboard to client begin.", 200));
}

TEST_F(MessageWindow, AStaleLastErrorFailsInitThoughAWindowWasMadeAndThatWindowStays)
{
    const ImportHook<decltype(&CreateWindowExA)> hook(nullptr, "CreateWindowExA", &createWithStaleError);
    EXPECT_FALSE(init());
    EXPECT_EQ(window(), nullptr);
    EXPECT_TRUE(IsWindow(gMade));
    expectEndOfLog({"CreateWindow return zero, err: 1400", "InitInstance fail"});
    mThread.run([] { DestroyWindow(gMade); });
}

TEST_F(MessageWindow, ARefusedListenerLeavesTheWindowAndStartsNoSync)
{
    const ImportHook<decltype(&AddClipboardFormatListener)> hook(
        nullptr, "AddClipboardFormatListener", +[](HWND) -> BOOL { return FALSE; });
    EXPECT_FALSE(init());
    EXPECT_TRUE(IsWindow(window()));
    EXPECT_EQ(RecordingLog::messages(6), std::vector<std::string>{"AddClipboardFormatListener fail."});
    EXPECT_EQ(RecordingLog::count(5, "Init end."), 0);
    EXPECT_FALSE(RecordingLog::waitForLine(5, "Sync clipboard to client begin.", 200));
}

TEST_F(MessageWindow, ARefusedRemovalIsLoggedOnly)
{
    const ImportHook<decltype(&RemoveClipboardFormatListener)> hook(
        nullptr, "RemoveClipboardFormatListener", +[](HWND) -> BOOL {
            SetLastError(87);
            return FALSE;
        });
    EXPECT_FALSE(mEngine->UnInit());
    EXPECT_EQ(RecordingLog::messages(), std::vector<std::string>{"Remove clipboard listener failed, error code: 87"});
    EXPECT_EQ(RecordingLog::lines()[0].level, 5);
}

TEST_F(MessageWindow, RequestsToRenderAreSwallowedAndCauseNoDetection)
{
    initAndLetTheFirstReportThrough();
    const ImportHook<decltype(&DefWindowProcW)> hook(
        nullptr, "DefWindowProcW", +[](HWND window, UINT message, WPARAM wParam, LPARAM lParam) -> LRESULT {
            EXPECT_TRUE(message != 773 && message != 774) << message;
            return DefWindowProcA(window, message, wParam, lParam);
        });
    EXPECT_EQ(SendMessageW(window(), 773, CF_HDROP, 0), 0);
    EXPECT_EQ(SendMessageW(window(), 774, 0, 0), 0);
    mEngine->onMessage(window(), 773, 0, 0);
    EXPECT_FALSE(mListener->waitForReports(1, 200));
}

TEST_F(MessageWindow, OtherMessagesGetTheDefaultHandling)
{
    init();
    EXPECT_EQ(SendMessageW(window(), WM_QUERYENDSESSION, 0, 0), 1);  // the engine's own answer would be 0
    EXPECT_TRUE(RecordingLog::waitForLine(5, "Sync clipboard to client end."));
}

TEST_F(MessageWindow, TenUpdatesDuringADetectionLeadToOneFurtherRun)
{
    std::promise<void> go;
    const auto mayGo = go.get_future().share();
    listenWith([mayGo](const std::vector<ClipboardFormat>&) { mayGo.wait(); });
    mEngine->onMessage(nullptr, WM_CLIPBOARDUPDATE, 0, 0);
    ASSERT_TRUE(mListener->waitForReports(1));
    for (int i = 0; i < 10; ++i)
        mEngine->onMessage(nullptr, WM_CLIPBOARDUPDATE, 0, 0);
    go.set_value();
    ASSERT_TRUE(mListener->waitForReports(2));
    EXPECT_FALSE(mListener->waitForReports(3, 200));
}

TEST_F(MessageWindow, TheWindowProcedureReturnsWhileAListenerBlocks)
{
    constexpr auto kLong = std::chrono::seconds(30);
    std::promise<void> go;
    const auto mayGo = go.get_future().share();
    init();
    listenWith([mayGo, kLong](const std::vector<ClipboardFormat>&) { mayGo.wait_for(kLong); });
    const auto begun = Clock::now();
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(SendMessageW(window(), WM_CLIPBOARDUPDATE, 0, 0), 0);
    EXPECT_LT(Clock::now() - begun, kLong);
    go.set_value();
    ASSERT_TRUE(mListener->waitForReports(1));
    EXPECT_TRUE(RecordingLog::waitForLine(5, "Sync clipboard to client end."));
}
