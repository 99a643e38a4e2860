// Data in the shapes in which the clipboard takes them.
#pragma once

#include <windows.h>

#include <memory>
#include <string>
#include <vector>

struct GlobalMemoryDeleter {
    using pointer = HGLOBAL;
    void operator()(HGLOBAL block) const
    {
        GlobalFree(block);
    }
};
/// A block that is ours. It goes to the system when SetClipboardData takes it, and must be released then.
using GlobalMemory = std::unique_ptr<HGLOBAL, GlobalMemoryDeleter>;

struct BitmapDeleter {
    using pointer = HBITMAP;
    void operator()(HBITMAP bitmap) const
    {
        DeleteObject(bitmap);
    }
};
using Bitmap = std::unique_ptr<HBITMAP, BitmapDeleter>;

/// All throw std::bad_alloc if the system has no memory for them.
/// @param paths absolute, without a separator at the end @return a block for CF_HDROP
GlobalMemory makeDropList(const std::vector<std::wstring>& paths);
/// @return a block for the registered format "Preferred DropEffect"
GlobalMemory makeDropEffect(DWORD effect);
/// @return a block for CF_UNICODETEXT
GlobalMemory makeText(const std::wstring& text);
/// @return a small picture for CF_BITMAP
Bitmap makeBitmap();
