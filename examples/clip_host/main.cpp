// The reference host: the smallest program that uses md-clipboard.dll as a host does. It reports what other programs
// copy on this machine. Read runHost first; host_listener.cpp is what a host does when it is told of a change.
// With --guest it also plays a guest whose files are offered here; that part stands in guest.cpp and what it uses.
#include <windows.h>

#include <exception>
#include <memory>
#include <string>

#include "cache_directory.h"
#include "example_support/console.h"
#include "example_support/message_pump.h"
#include "example_support/wine_window_fix.h"
#include "guest.h"
#include "host_listener.h"
#include "host_options.h"
#include "input_end.h"
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

/// The order of these calls matters; sd/clip/clipboard.h tells why.
int runHost(const HostOptions& options)
{
    Guest guest(options.guest);
    const auto clipboard = sd::clip::Clipboard::Get();
    if (clipboard == nullptr) {
        printError("The library could not start.\n");
        return 1;
    }
    const auto listener = std::make_shared<HostListener>(options, askToLeave);
    clipboard->SetListener(listener);
    clipboard->SetFileClipboardSupported(!options.noFiles);
    const bool hasGuest = !options.guest.directory.empty();
    if (hasGuest || !options.cacheDirectory.empty()) {
        const auto choose = options.guest.lazy ? choosePlaceholderDirectory : chooseCacheDirectory;
        if (!clipboard->InitFileLazyRenderer(choose(options.cacheDirectory)))
            printError("Pastes by placeholder are not available.\n");
    }
    clipboard->SetSupportFileClipboardFullPostProcessMode(options.fullPostProcess);
    SetLastError(ERROR_SUCCESS);  // Init takes an error that was left behind for its own
    clipboard->Init();            // its result says nothing; what went wrong stands in the log
    printText("listening\n");
    guest.start();
    if (hasGuest)
        callWhenInputEnds(askToLeave);

    pumpMessagesUntil(gLeave, options.seconds > 0 ? options.seconds * 1000 : INFINITE);

    guest.stop();
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
    try {
        return runHost(options);
    } catch (const std::exception& error) {
        printError(std::string("clip-host: ") + error.what() + "\n");
        return 1;
    }
}
