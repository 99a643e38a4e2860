// Puts things on the system clipboard, or holds it open, as another program would: with a window of its own.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

class ClipboardOwner {
public:
    ClipboardOwner();
    ~ClipboardOwner();
    ClipboardOwner(const ClipboardOwner&) = delete;
    ClipboardOwner& operator=(const ClipboardOwner&) = delete;

    // Opens the clipboard, waiting for other programs, and empties it.
    void open();
    void close();

    // Between open and close.
    void addDropList(const std::vector<std::wstring>& paths);
    void addText(const std::wstring& text);
    void addBlock(UINT format, const void* data, std::size_t size);

    // Each of these opens, empties, puts and closes.
    void putDropList(const std::vector<std::wstring>& paths);
    void putText(const std::wstring& text);
    void putNothing();

private:
    HWND mWindow;
};
