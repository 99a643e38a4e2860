// The hidden window that hears of clipboard changes.
#pragma once

#include <windows.h>

#include <atomic>

namespace sd::clip {

// Windows and their class are never taken away.
// Threads: a window belongs to the thread that creates it, which must pump messages; the rest any.
class HiddenWindow {
public:
    // Whether a window procedure hands the message on instead of asking the default procedure. WM_RENDERFORMAT and
    // WM_RENDERALLFORMATS are among them: the engine renders nothing late, and the default must not answer for it.
    static bool isClipboardMessage(UINT message);

    // @param procedure of the window class, which the first window of the process registers
    explicit HiddenWindow(WNDPROC procedure) : mProcedure(procedure) {}
    HiddenWindow(const HiddenWindow&) = delete;
    HiddenWindow& operator=(const HiddenWindow&) = delete;

    // Makes a further window. Strict on purpose: a last error that was left behind fails the call though a window was
    // made, and that window stays.
    // @return null after a failure, which is logged
    HWND create(HINSTANCE module);

    // Has the system tell the window of changes. @return false after a failure, which is logged
    static bool startListening(HWND window);

    // Has the system tell the window of the last create no more. A failure is logged.
    void stopListening() const;

private:
    friend class TestAccess;

    void registerClass(HINSTANCE module) const;
    static HWND createWindow(HINSTANCE module);

    std::atomic<HWND> mHwnd{nullptr};  // of the last create
    const WNDPROC mProcedure;          // no lock: constant
};

}  // namespace sd::clip
