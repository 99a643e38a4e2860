// The reference host: the smallest program that uses md-clipboard.dll as a host does. It reports what other programs
// copy on this machine. Read runHost first; host_listener.cpp is what a host does when it is told of a change.
#include <windows.h>

#include <memory>

#include "example_support/console.h"
#include "example_support/wine_window_fix.h"
#include "host_listener.h"
#include "host_options.h"
#include "sd/clip/clipboard.h"

namespace {

/// The event that ends the program; set from any thread.
HANDLE gLeave = nullptr;

void askToLeave()
{
    SetEvent(gLeave);
}

BOOL WINAPI leaveOnCtrlC(DWORD /*event*/)
{
    askToLeave();
    return TRUE;
}

/// Dispatches this thread's messages until the program is asked to leave or the time is over; 0 seconds: no limit.
void pumpMessages(unsigned seconds)
{
    const ULONGLONG end = GetTickCount64() + seconds * 1000ULL;
    for (;;) {
        const ULONGLONG now = GetTickCount64();
        const DWORD wait = seconds == 0 ? INFINITE : static_cast<DWORD>(end > now ? end - now : 0);
        if (MsgWaitForMultipleObjectsEx(1, &gLeave, wait, QS_ALLINPUT, MWMO_INPUTAVAILABLE) != WAIT_OBJECT_0 + 1)
            return;
        MSG message;
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
            TranslateMessage(&message);
            DispatchMessageW(&message);
        }
    }
}

/// The order of these calls matters; sd/clip/clipboard.h tells why.
int runHost(const HostOptions& options)
{
    const auto clipboard = sd::clip::Clipboard::Get();
    if (clipboard == nullptr) {
        printError("The library could not start.\n");
        return 1;
    }
    const auto listener = std::make_shared<HostListener>(options, askToLeave);
    clipboard->SetListener(listener);
    clipboard->SetFileClipboardSupported(!options.noFiles);
    if (!options.cacheDirectory.empty() && !clipboard->InitFileLazyRenderer(options.cacheDirectory))
        printError("Pastes by placeholder are not available.\n");
    clipboard->SetSupportFileClipboardFullPostProcessMode(options.fullPostProcess);
    SetLastError(ERROR_SUCCESS);  // Init takes an error that was left behind for its own
    clipboard->Init();            // its result says nothing; what went wrong stands in the log
    printText("listening\n");

    pumpMessages(options.seconds);

    clipboard->UnInit();
    clipboard->SetListener(nullptr);
    return listener->isGoalReached() ? 0 : 1;
}

}  // namespace

int main()
{
    useUtf8Console();
    HostOptions options;
    int exitCode = 0;
    if (!readHostOptions(options, exitCode))
        return exitCode;

    // Read by the stand-in for log.dll at each line. Level 6 is where errors begin.
    SetEnvironmentVariableA("LUMORA_LOG_MIN_LEVEL", options.verbose ? nullptr : "6");
    gLeave = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    SetConsoleCtrlHandler(leaveOnCtrlC, TRUE);
    const WineWindowFix wineWindowFix(GetModuleHandleW(L"md-clipboard.dll"));
    return runHost(options);
}
