#include "file_clipboard_lazy_renderer/drop_file_publication.h"

#include <windows.h>

#include <shlobj.h>

#include <cstring>

#include "base/log.h"
#include "support/global_lock.h"
#include "support/opened_clipboard.h"

namespace sd::clip {

namespace {

std::size_t measureDropFiles(const std::vector<std::wstring>& paths)
{
    std::size_t units = 1;  // the terminator of the list
    for (const std::wstring& path : paths)
        units += path.size() + 1;
    return sizeof(DROPFILES) + units * sizeof(wchar_t);
}

// Each path with its terminator, into zeroed memory, so the list's own is there.
// @param block the caller's, as large as measureDropFiles tells
void fillDropFiles(void* block, const std::vector<std::wstring>& paths)
{
    DROPFILES header = {};
    header.pFiles = sizeof header;
    header.fWide = TRUE;
    std::memcpy(block, &header, sizeof header);
    unsigned char* target = static_cast<unsigned char*>(block) + sizeof header;
    for (const std::wstring& path : paths) {
        const std::size_t size = (path.size() + 1) * sizeof(wchar_t);
        std::memcpy(target, path.c_str(), size);
        target += size;
    }
}

// The best that can be done: whoever pastes without it copies instead of moving, and that lands all the same.
void setPreferredEffect(std::uint32_t effect)
{
    OwnedBlock block(GlobalAlloc(GHND, sizeof effect));
    if (block == nullptr)
        return;
    {
        const GlobalLockScope lock(block.Get());
        if (lock.data() == nullptr)
            return;
        std::memcpy(lock.data(), &effect, sizeof effect);
    }
    block.GiveToClipboard(RegisterClipboardFormatW(CFSTR_PREFERREDDROPEFFECT));
}

}  // namespace

bool publishDropFiles(const std::vector<std::wstring>& paths, std::uint32_t effect)
{
    OpenedClipboard clipboard;
    if (!clipboard.Open())
        return false;
    EmptyClipboard();
    OwnedBlock block = makeDropFilesBlock(paths);
    if (block == nullptr || !block.GiveToClipboard(CF_HDROP)) {
        clipboard.Close();
        block.Free();
        CLIP_LOG(kLogFatal, "Failed to set drop file clipboard data!");
        return false;
    }
    setPreferredEffect(effect);
    return true;
}

OwnedBlock makeDropFilesBlock(const std::vector<std::wstring>& paths)
{
    OwnedBlock block(GlobalAlloc(GHND, measureDropFiles(paths)));
    if (block == nullptr) {
        CLIP_LOG(kLogFatal, "Failed to alloc drop file memory!");
        return block;
    }
    const GlobalLockScope lock(block.Get());
    if (lock.data() == nullptr) {
        block.Free();
        CLIP_LOG(kLogFatal, "Failed to free drop file memory!");  // the words are not what happened, and they stay
        return block;
    }
    fillDropFiles(lock.data(), paths);
    return block;
}

}  // namespace sd::clip
