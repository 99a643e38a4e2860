#include "example_support/wine_window_fix.h"

#include "example_support/runs_under_wine.h"

namespace {

// Not taken from this program's own import, which may be the one that is replaced.
template <class Fn>
Fn findInUser32(const char* name)
{
    return reinterpret_cast<Fn>(reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"user32.dll"), name)));
}

HWND WINAPI createWindowLeavingNoError(DWORD extendedStyle, LPCSTR className, LPCSTR windowName, DWORD style, int x,
                                       int y, int width, int height, HWND parent, HMENU menu, HINSTANCE instance,
                                       LPVOID parameter)
{
    static const auto createWindow = findInUser32<decltype(&CreateWindowExA)>("CreateWindowExA");
    const HWND window = createWindow(extendedStyle, className, windowName, style, x, y, width, height, parent, menu,
                                     instance, parameter);
    if (window != nullptr)
        SetLastError(ERROR_SUCCESS);
    return window;
}

}  // namespace

WineWindowFix::WineWindowFix(HMODULE module)
{
    if (runsUnderWine())
        mPatch.emplace(module, "CreateWindowExA", reinterpret_cast<void*>(&createWindowLeavingNoError));
}
