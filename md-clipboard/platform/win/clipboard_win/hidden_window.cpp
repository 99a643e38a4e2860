#include "clipboard_win/hidden_window.h"

#include "base/log.h"

namespace sd::clip {

namespace {

constexpr char kWindowClassName[] = "ClipSDK";

}  // namespace

bool HiddenWindow::isClipboardMessage(UINT message)
{
    return message == WM_RENDERFORMAT || message == WM_RENDERALLFORMATS || message == WM_CLIPBOARDUPDATE;
}

HWND HiddenWindow::create(HINSTANCE module)
{
    registerClass(module);
    const HWND window = createWindow(module);
    mHwnd = window;
    return window;
}

void HiddenWindow::registerClass(HINSTANCE module) const
{
    WNDCLASSEXA windowClass = {};
    windowClass.cbSize = sizeof windowClass;
    windowClass.style = CS_HREDRAW | CS_VREDRAW;
    windowClass.lpfnWndProc = mProcedure;
    windowClass.hInstance = module;
    windowClass.hCursor = LoadCursorW(nullptr, IDC_ARROW);
    windowClass.hbrBackground = reinterpret_cast<HBRUSH>(COLOR_WINDOW + 1);
    windowClass.lpszMenuName = "";
    windowClass.lpszClassName = kWindowClassName;
    RegisterClassExA(&windowClass);

    // The last error decides, not the result: a second Init finds the class registered and goes on.
    const DWORD error = GetLastError();
    if (error != 0)
        CLIP_LOG(kLogFatal, "RegisterClassEx failed. error��%d", static_cast<int>(error));
}

HWND HiddenWindow::createWindow(HINSTANCE module)
{
    const HWND window = CreateWindowExA(0, kWindowClassName, kWindowClassName, WS_OVERLAPPEDWINDOW, CW_USEDEFAULT, 0,
                                        CW_USEDEFAULT, 0, nullptr, nullptr, module, nullptr);
    const DWORD error = GetLastError();
    if (error != 0 || window == nullptr) {
        CLIP_LOG(kLogFatal, "CreateWindow return zero, err: %d", static_cast<int>(error));
        return nullptr;
    }
    CLIP_LOG(kLogInfo, "Create Windows done!\n");
    return window;
}

bool HiddenWindow::startListening(HWND window)
{
    const bool isListening = AddClipboardFormatListener(window) != FALSE;
    if (!isListening)
        CLIP_LOG(kLogError, "AddClipboardFormatListener fail.");
    return isListening;
}

void HiddenWindow::stopListening() const
{
    if (!RemoveClipboardFormatListener(mHwnd))
        CLIP_LOG(kLogInfo, "Remove clipboard listener failed, error code: %d", static_cast<int>(GetLastError()));
}

}  // namespace sd::clip
