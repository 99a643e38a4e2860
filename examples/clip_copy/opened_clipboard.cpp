#include "opened_clipboard.h"

#include <stdexcept>
#include <string>

namespace {

constexpr DWORD kPauseMilliseconds = 5;

std::runtime_error lastErrorOf(const char* call)
{
    return std::runtime_error(std::string(call) + " failed, error " + std::to_string(GetLastError()));
}

}  // namespace

OpenedClipboard::OpenedClipboard(unsigned maxWaitMilliseconds)
    : mWindow(CreateWindowExW(0, L"STATIC", L"clip-copy", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr))
{
    if (mWindow == nullptr)
        throw lastErrorOf("CreateWindowEx");
    const ULONGLONG end = GetTickCount64() + maxWaitMilliseconds;
    while (!OpenClipboard(mWindow)) {
        if (GetTickCount64() >= end) {
            DestroyWindow(mWindow);
            throw std::runtime_error("another program keeps the clipboard open");
        }
        Sleep(kPauseMilliseconds);
    }
    EmptyClipboard();  // makes the window the owner
}

OpenedClipboard::~OpenedClipboard()
{
    CloseClipboard();
    DestroyWindow(mWindow);
}

void OpenedClipboard::put(UINT format, GlobalMemory block)
{
    if (SetClipboardData(format, block.get()) == nullptr)
        throw lastErrorOf("SetClipboardData");
    static_cast<void>(block.release());  // it is the system's now
}

void OpenedClipboard::put(UINT format, Bitmap bitmap)
{
    if (SetClipboardData(format, bitmap.get()) == nullptr)
        throw lastErrorOf("SetClipboardData");
    static_cast<void>(bitmap.release());
}
