#include "support/clipboard_owner.h"

#include <shlobj.h>

#include <cstring>
#include <stdexcept>

namespace {

// A block as a file manager makes it: a header, the paths with their terminators, one terminator more.
std::string makeDropBlock(const std::vector<std::wstring>& paths)
{
    DROPFILES head = {};
    head.pFiles = sizeof head;
    head.fWide = TRUE;
    std::wstring names;
    for (const std::wstring& path : paths)
        names += path + L'\0';
    names += L'\0';
    std::string block(reinterpret_cast<const char*>(&head), sizeof head);
    return block.append(reinterpret_cast<const char*>(names.data()), names.size() * sizeof(wchar_t));
}

}  // namespace

ClipboardOwner::ClipboardOwner()
    : mWindow(CreateWindowExW(0, L"STATIC", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr))
{
    if (mWindow == nullptr)
        throw std::runtime_error("no window");
}

ClipboardOwner::~ClipboardOwner()
{
    DestroyWindow(mWindow);
}

void ClipboardOwner::open()
{
    for (int attempt = 0; !OpenClipboard(mWindow); ++attempt) {
        if (attempt == 500)
            throw std::runtime_error("the clipboard is held by another program");
        Sleep(5);
    }
    EmptyClipboard();
}

void ClipboardOwner::close()
{
    CloseClipboard();
}

void ClipboardOwner::addBlock(UINT format, const void* data, std::size_t size)
{
    const HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE, size);
    std::memcpy(GlobalLock(block), data, size);
    GlobalUnlock(block);
    if (SetClipboardData(format, block) == nullptr) {
        GlobalFree(block);
        throw std::runtime_error("SetClipboardData fails, error " + std::to_string(GetLastError()));
    }
}

void ClipboardOwner::addDropList(const std::vector<std::wstring>& paths)
{
    const std::string block = makeDropBlock(paths);
    addBlock(CF_HDROP, block.data(), block.size());
}

void ClipboardOwner::addText(const std::wstring& text)
{
    addBlock(CF_UNICODETEXT, text.c_str(), (text.size() + 1) * sizeof(wchar_t));
}

void ClipboardOwner::putDropList(const std::vector<std::wstring>& paths)
{
    open();
    addDropList(paths);
    close();
}

void ClipboardOwner::putText(const std::wstring& text)
{
    open();
    addText(text);
    close();
}

void ClipboardOwner::putNothing()
{
    open();
    close();
}
