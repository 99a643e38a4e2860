// How a process with the DLL in it ends: at every moment, with the exit code that it sets, at once.
#include <gtest/gtest.h>
#include <windows.h>

#include <chrono>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>

#include "example_support/wine_window_fix.h"
#include "sd/clip/clipboard.h"
#include "sd/clip/clipboard_data.h"
#include "support/child_process.h"
#include "support/test_roles.h"

using namespace sd::clip;

namespace {

constexpr int kExitCode = 42;

// Tells when it is called and never returns.
class BlockingListener : public ClipboardListener {
public:
    bool waitForCall() const
    {
        return WaitForSingleObject(mCalled, 5000) == WAIT_OBJECT_0;
    }

    void OnClipboardFormats(const std::vector<ClipboardFormat>&) override
    {
        SetEvent(mCalled);
        Sleep(INFINITE);
    }
    void OnClipboardEvent(std::string, std::string, std::string, std::int64_t, std::string, std::string, std::string,
                          std::string) override
    {
    }

private:
    const HANDLE mCalled = CreateEventW(nullptr, TRUE, FALSE, nullptr);
};

class ThrowingListener : public BlockingListener {
public:
    void OnClipboardFormats(const std::vector<ClipboardFormat>&) override
    {
        throw std::runtime_error("the host's");
    }
};

// Has the clipboard looked at, as a change does: the window of this process is told.
void detectCopy()
{
    EnumThreadWindows(
        GetCurrentThreadId(),
        [](HWND window, LPARAM) -> BOOL {
            SendMessageW(window, WM_CLIPBOARDUPDATE, 0, 0);
            return TRUE;
        },
        0);
}

void init(const std::shared_ptr<ClipboardListener>& listener)
{
    static const WineWindowFix fix(GetModuleHandleW(L"md-clipboard.dll"));
    Clipboard::Get()->SetListener(listener);
    SetLastError(0);
    Clipboard::Get()->Init();
}

// The engine on the worker, in a listener that does not return.
bool reachDetection()
{
    const auto listener = std::make_shared<BlockingListener>();
    Clipboard::Get();
    Sleep(100);  // the worker waits
    init(listener);
    detectCopy();
    return listener->waitForCall();
}

const TestRole withoutGet("without-get", [](const std::vector<std::string>&) { return kExitCode; });

const TestRole afterGet("after-get", [](const std::vector<std::string>&) {
    Clipboard::Get();  // the worker has hardly started
    return kExitCode;
});

const TestRole workerIdle("worker-idle", [](const std::vector<std::string>&) {
    Clipboard::Get();
    Sleep(100);
    return kExitCode;
});

const TestRole firstSync("first-sync", [](const std::vector<std::string>&) {
    init(nullptr);
    Sleep(100);  // the first sync sleeps for two seconds
    return kExitCode;
});

const TestRole detecting("detecting", [](const std::vector<std::string>&) { return reachDetection() ? kExitCode : 1; });

const TestRole exitCalled("exit-called",
                          [](const std::vector<std::string>&) -> int { std::exit(reachDetection() ? kExitCode : 1); });

const TestRole oleThreadIdle("ole-thread-idle", [](const std::vector<std::string>&) {
    init(nullptr);
    Clipboard::Get()->SetFileClipboardSupported(true);
    return Clipboard::Get()->SetClipboardData(ClipboardFormat::File, ClipboardFileData::Create()) ? kExitCode : 1;
});

const TestRole throwing("throwing", [](const std::vector<std::string>&) {
    SetErrorMode(SEM_NOGPFAULTERRORBOX | SEM_FAILCRITICALERRORS);
    Clipboard::Get();
    Sleep(100);  // the worker waits
    init(std::make_shared<ThrowingListener>());
    detectCopy();
    Sleep(5000);
    return kExitCode;
});

class ProcessExit : public testing::TestWithParam<const wchar_t*> {};

}  // namespace

TEST_P(ProcessExit, KeepsTheHostsExitCodeAndEndsWithinTwoSeconds)
{
    ChildProcess child = ChildProcess::inRole(GetParam());
    const auto begun = std::chrono::steady_clock::now();
    EXPECT_EQ(child.waitForExit(10000), static_cast<DWORD>(kExitCode)) << child.output();
    constexpr auto kWaitedByRole = std::chrono::milliseconds(100);
    EXPECT_LT(std::chrono::steady_clock::now() - begun, kWaitedByRole + std::chrono::seconds(2));
}

INSTANTIATE_TEST_SUITE_P(AtEveryMoment, ProcessExit,
                         testing::Values(L"without-get", L"after-get", L"worker-idle", L"first-sync", L"detecting",
                                         L"exit-called", L"ole-thread-idle"));

TEST(ListenerException, EndsTheProcessAsHostsAreTold)
{
    ChildProcess child = ChildProcess::inRole(L"throwing");
    const DWORD code = child.waitForExit(10000);
    EXPECT_NE(code, static_cast<DWORD>(kExitCode));
    EXPECT_NE(code, static_cast<DWORD>(STILL_ACTIVE));
    EXPECT_NE(child.output().find("the host's"), std::string::npos) << child.output();
}
