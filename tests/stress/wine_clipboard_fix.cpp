#include "wine_clipboard_fix.h"

#include <ole2.h>

#include <atomic>

#include "example_support/runs_under_wine.h"

namespace {

std::atomic<DWORD> gHolder{0};  // the thread that has the clipboard open; 0: none

// Not taken from an import, which may be the one that is replaced.
template <class Fn>
Fn findIn(const wchar_t* module, const char* name)
{
    return reinterpret_cast<Fn>(reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(module), name)));
}

BOOL WINAPI openAlone(HWND window)
{
    static const auto open = findIn<decltype(&OpenClipboard)>(L"user32.dll", "OpenClipboard");
    DWORD holder = 0;
    const bool isTaken = gHolder.compare_exchange_strong(holder, GetCurrentThreadId());
    if (!isTaken && holder != GetCurrentThreadId()) {
        SetLastError(ERROR_ACCESS_DENIED);
        return FALSE;
    }
    if (open(window))
        return TRUE;
    if (isTaken)
        gHolder = 0;
    return FALSE;
}

BOOL WINAPI closeOwn()
{
    static const auto close = findIn<decltype(&CloseClipboard)>(L"user32.dll", "CloseClipboard");
    if (gHolder != GetCurrentThreadId()) {
        SetLastError(ERROR_CLIPBOARD_NOT_OPEN);
        return FALSE;
    }
    const BOOL closed = close();
    gHolder = 0;
    return closed;
}

// A thread's window of OLE; goes with the thread.
HWND windowOfThread()
{
    thread_local HWND window = nullptr;
    if (window == nullptr)
        window = CreateWindowExW(0, L"STATIC", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
    return window;
}

HRESULT emptyClipboard()
{
    if (!openAlone(windowOfThread()))
        return CLIPBRD_E_CANT_OPEN;
    const BOOL emptied = EmptyClipboard();
    closeOwn();
    return emptied ? S_OK : CLIPBRD_E_CANT_EMPTY;
}

HRESULT WINAPI setClipboard(IDataObject* object)
{
    static const auto set = findIn<decltype(&OleSetClipboard)>(L"ole32.dll", "OleSetClipboard");
    APTTYPE type;
    APTTYPEQUALIFIER qualifier;
    const bool hasJoined = SUCCEEDED(CoGetApartmentType(&type, &qualifier));
    return object == nullptr && hasJoined ? emptyClipboard() : set(object);
}

}  // namespace

WineClipboardFix::WineClipboardFix(HMODULE library)
{
    if (!runsUnderWine())
        return;
    for (const HMODULE module : {HMODULE{nullptr}, library, GetModuleHandleW(L"ole32.dll")}) {
        replace(module, "OpenClipboard", reinterpret_cast<void*>(&openAlone));
        replace(module, "CloseClipboard", reinterpret_cast<void*>(&closeOwn));
    }
    replace(library, "OleSetClipboard", reinterpret_cast<void*>(&setClipboard));
}

void WineClipboardFix::replace(HMODULE module, const char* name, void* replacement)
{
    mPatches.push_back(std::make_unique<ImportPatch>(module, name, replacement));
}
