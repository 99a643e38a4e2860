#include "clipboard_blocks.h"

#include <shlobj.h>

#include <cstring>
#include <new>

namespace {

GlobalMemory copyToBlock(const std::string& bytes)
{
    GlobalMemory block(GlobalAlloc(GMEM_MOVEABLE, bytes.size()));
    void* memory = block ? GlobalLock(block.get()) : nullptr;
    if (memory == nullptr)
        throw std::bad_alloc();
    std::memcpy(memory, bytes.data(), bytes.size());
    GlobalUnlock(block.get());
    return block;
}

template <class T>
void append(std::string& bytes, const T* values, std::size_t count)
{
    bytes.append(reinterpret_cast<const char*>(values), count * sizeof(T));
}

}  // namespace

GlobalMemory makeDropList(const std::vector<std::wstring>& paths)
{
    DROPFILES head{};
    head.pFiles = sizeof head;  // the paths follow at once
    head.fWide = TRUE;
    std::string bytes;
    append(bytes, &head, 1);
    for (const std::wstring& path : paths)
        append(bytes, path.c_str(), path.size() + 1);
    append(bytes, L"", 1);  // an empty path ends the list
    return copyToBlock(bytes);
}

GlobalMemory makeDropEffect(DWORD effect)
{
    std::string bytes;
    append(bytes, &effect, 1);
    return copyToBlock(bytes);
}

GlobalMemory makeText(const std::wstring& text)
{
    std::string bytes;
    append(bytes, text.c_str(), text.size() + 1);
    return copyToBlock(bytes);
}

Bitmap makeBitmap()
{
    constexpr int kSide = 16;
    constexpr UINT kPlanes = 1;
    constexpr UINT kBitsPerPixel = 32;
    const std::vector<DWORD> pixels(static_cast<std::size_t>(kSide) * kSide, 0x00336699);  // 0x00RRGGBB
    Bitmap bitmap(CreateBitmap(kSide, kSide, kPlanes, kBitsPerPixel, pixels.data()));
    if (!bitmap)
        throw std::bad_alloc();
    return bitmap;
}
