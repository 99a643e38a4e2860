#include "drop_list.h"

#include <windows.h>

#include <shellapi.h>
#include <shlobj.h>

#include <cstring>
#include <stdexcept>

namespace {

constexpr DWORD kPauseMilliseconds = 5;
constexpr ULONGLONG kPatienceMilliseconds = 5000;
constexpr UINT kAllFiles = 0xFFFFFFFF;

/// The system clipboard, opened for one scope. It has a window, so that others see that somebody has it open.
class ReadClipboard {
public:
    ReadClipboard()
        : mWindow(CreateWindowExW(0, L"STATIC", L"clip-paste", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr))
    {
        const ULONGLONG end = GetTickCount64() + kPatienceMilliseconds;
        while (!OpenClipboard(mWindow)) {
            if (GetTickCount64() >= end) {
                DestroyWindow(mWindow);
                throw std::runtime_error("another program keeps the clipboard open");
            }
            Sleep(kPauseMilliseconds);
        }
    }
    ReadClipboard(const ReadClipboard&) = delete;
    ReadClipboard& operator=(const ReadClipboard&) = delete;
    ~ReadClipboard()
    {
        CloseClipboard();
        DestroyWindow(mWindow);
    }

private:
    HWND mWindow;
};

std::wstring readPath(HDROP drop, UINT index)
{
    std::wstring path(std::size_t{DragQueryFileW(drop, index, nullptr, 0)} + 1, L'\0');
    path.resize(DragQueryFileW(drop, index, path.data(), static_cast<UINT>(path.size())));
    return path;
}

/// @return 0 if the list comes without an effect
DWORD readPreferredEffect()
{
    DWORD effect = 0;
    const HANDLE block = GetClipboardData(RegisterClipboardFormatW(CFSTR_PREFERREDDROPEFFECT));
    if (block == nullptr || GlobalSize(block) < sizeof effect)
        return 0;
    if (const void* const data = GlobalLock(block)) {
        std::memcpy(&effect, data, sizeof effect);
        GlobalUnlock(block);
    }
    return effect;
}

}  // namespace

bool isDropListOffered()
{
    return IsClipboardFormatAvailable(CF_HDROP) &&
           !IsClipboardFormatAvailable(RegisterClipboardFormatW(CFSTR_FILEDESCRIPTORW));
}

DropList readDropList()
{
    const ReadClipboard opened;
    const auto drop = static_cast<HDROP>(GetClipboardData(CF_HDROP));
    if (drop == nullptr)
        throw std::runtime_error("the list of paths cannot be read, error " + std::to_string(GetLastError()));
    DropList list;
    const UINT count = DragQueryFileW(drop, kAllFiles, nullptr, 0);
    for (UINT i = 0; i < count; ++i)
        list.paths.push_back(readPath(drop, i));
    // Copied files often come with several effects; cut ones with this one alone.
    list.cut = readPreferredEffect() == DROPEFFECT_MOVE;
    return list;
}
