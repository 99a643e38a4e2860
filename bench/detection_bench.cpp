#include "detection_bench.h"

#include <windows.h>

#include <atomic>
#include <memory>
#include <stdexcept>
#include <vector>

#include "example_support/wine_window_fix.h"
#include "sd/clip/clipboard.h"
#include "second_process.h"

using namespace sd::clip;

namespace {

constexpr int kChanges = 60;
constexpr wchar_t kGoName[] = L"bench-go";

// Counts of the performance counter.
std::atomic<LONGLONG> gBareTime{0};
std::atomic<LONGLONG> gReportTime{0};

class TimingListener : public ClipboardListener {
public:
    void OnClipboardFormats(const std::vector<ClipboardFormat>&) override
    {
        gReportTime = sharedNow();
    }
    void OnClipboardEvent(std::string, std::string, std::string, std::int64_t, std::string, std::string, std::string,
                          std::string) override
    {
    }
};

LRESULT CALLBACK bareProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    if (message == WM_CLIPBOARDUPDATE)
        gBareTime = sharedNow();
    return DefWindowProcW(window, message, wParam, lParam);
}

void makeBareWindow()
{
    WNDCLASSW windowClass = {};
    windowClass.lpfnWndProc = bareProcedure;
    windowClass.lpszClassName = L"bare-listener";
    RegisterClassW(&windowClass);
    const HWND window =
        CreateWindowExW(0, L"bare-listener", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
    if (window == nullptr || !AddClipboardFormatListener(window))
        throw std::runtime_error("no bare listener window");
}

void pumpFor(DWORD milliseconds, bool untilBothSeen)
{
    const ULONGLONG end = GetTickCount64() + milliseconds;
    while (GetTickCount64() < end && !(untilBothSeen && gBareTime != 0 && gReportTime != 0)) {
        MsgWaitForMultipleObjects(0, nullptr, FALSE, 1, QS_ALLINPUT);
        MSG message;
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE))
            DispatchMessageW(&message);
    }
}

}  // namespace

int runClipboardChanger()
{
    const HANDLE go = OpenEventW(SYNCHRONIZE, FALSE, kGoName);
    const HWND window = CreateWindowExW(0, L"STATIC", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
    while (WaitForSingleObject(go, 10000) == WAIT_OBJECT_0) {
        while (!OpenClipboard(window))
            Sleep(1);
        EmptyClipboard();
        SetClipboardData(CF_UNICODETEXT, GlobalAlloc(GHND, 16));
        CloseClipboard();
    }
    return 0;
}

BenchResult measureDetectExtra()
{
    const WineWindowFix fix(nullptr);
    const auto clipboard = Clipboard::Get();
    clipboard->SetListener(std::make_shared<TimingListener>());
    SetLastError(ERROR_SUCCESS);
    clipboard->Init();
    makeBareWindow();
    pumpFor(2500, false);  // lets the first report through

    const HANDLE go = CreateEventW(nullptr, FALSE, FALSE, kGoName);
    const HANDLE changer = startSecondProcess(L"--changer");

    std::vector<double> extras;
    for (int i = 0; i < kChanges; ++i) {
        gBareTime = 0;
        gReportTime = 0;
        SetEvent(go);
        pumpFor(2000, true);
        pumpFor(20, false);
        if (i < 5)
            continue;  // the first ones start everything up
        if (gBareTime == 0 || gReportTime == 0)
            throw std::runtime_error("a change was not reported");
        extras.push_back(toSharedMilliseconds(gReportTime - gBareTime));
    }
    TerminateProcess(changer, 0);
    CloseHandle(changer);
    CloseHandle(go);
    clipboard->UnInit();
    clipboard->SetListener(nullptr);
    return {"detect_extra_ms", summarize(extras), "ms", 1, "lower"};
}
