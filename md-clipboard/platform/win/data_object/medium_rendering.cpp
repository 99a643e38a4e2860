#include "data_object/medium_rendering.h"

#include <shlobj.h>

#include <cwchar>

#include "base/file_time.h"
#include "base/log.h"
#include "base/unix_clock.h"
#include "data_object/descriptor_size.h"
#include "file_utilities/detail_file_description.h"
#include "file_utilities/encoding.h"
#include "file_utilities/file_names.h"
#include "support/fast_fail.h"
#include "support/global_lock.h"

namespace sd::clip {

namespace {

// Fixed for every entry, whatever it is: pasting applications were tuned to exactly this word. The name of the bit
// FD_UNICODE is not known to all platform headers.
constexpr DWORD kDescriptorFlags = 0x8000407E;
constexpr UINT kBlockFlags = GMEM_SHARE | GMEM_ZEROINIT | GMEM_MOVEABLE;
// What DescriptorBlockSize, which knows no platform, reckons with.
static_assert(sizeof(FILEDESCRIPTORW) == 592 && sizeof(FILEGROUPDESCRIPTORW) == 596, "another layout on the clipboard");
constexpr std::uint32_t kNoAttributes = 0xFFFFFFFF;  // INVALID_FILE_ATTRIBUTES

DWORD attributesOf(const ClipfileDescription& file)
{
    if (file.attributes != 0 && file.attributes != kNoAttributes)
        return file.attributes;
    return (file.mode & kModeDirectory) != 0 ? FILE_ATTRIBUTE_DIRECTORY : FILE_ATTRIBUTE_NORMAL;
}

FILETIME presentSystemTime()
{
    SYSTEMTIME now;
    GetSystemTime(&now);
    FILETIME time = {};
    SystemTimeToFileTime(&now, &time);
    return time;
}

// In whole seconds, unless the clock stands at 1970 or before: an entry shows no such time.
FILETIME presentFileTime()
{
    const std::int64_t seconds = unixNow();
    if (seconds <= 0)
        return presentSystemTime();
    const std::uint64_t time = UnixTimeToFileTime(seconds);
    return {static_cast<DWORD>(time), static_cast<DWORD>(time >> 32)};
}

// The runtimes differ in what a text that does not fit does; a wrong name must never be pasted, so the process ends.
void copyName(wchar_t (&target)[MAX_PATH], const std::wstring& name)
{
    const std::size_t length = std::wcslen(name.c_str());  // a guest's name may carry its terminator
    if (length >= MAX_PATH)
        endProcessAtOnce();
    std::wmemcpy(target, name.c_str(), length + 1);
}

void fillEntry(FILEDESCRIPTORW& entry, const ClipfileDescription& file)
{
    entry.dwFlags = kDescriptorFlags;
    entry.dwFileAttributes = attributesOf(file);
    if ((entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
        const FILETIME now = presentFileTime();
        entry.ftCreationTime = now;
        entry.ftLastAccessTime = now;
        entry.ftLastWriteTime = now;
    }
    entry.nFileSizeHigh = static_cast<DWORD>(file.size >> 32);
    entry.nFileSizeLow = static_cast<DWORD>(file.size);
    copyName(entry.cFileName, Utf8ToWide(GetRelativeName(file)));
}

void fillGroup(FILEGROUPDESCRIPTORW& group, const std::vector<ClipfileDescription>& files)
{
    CLIP_LOG(kLogError, "totalFileCount:%d.", static_cast<int>(files.size()));
    group.cItems = static_cast<UINT>(files.size());
    for (std::size_t i = 0; i < files.size(); ++i)
        fillEntry(group.fgd[i], files[i]);
}

}  // namespace

OwnedBlock AllocateDescriptorBlock(std::uint64_t entryCount)
{
    const auto size = DescriptorBlockSize(entryCount);
    if (!size) {
        CLIP_LOG(kLogError, "The list of %lld files is too long for a descriptor", static_cast<long long>(entryCount));
        return OwnedBlock(nullptr);
    }
    OwnedBlock block(GlobalAlloc(kBlockFlags, *size));
    if (block == nullptr)
        CLIP_LOG(kLogError, "GlobalAlloc gMem fail.");
    return block;
}

HRESULT RenderFileGroupDescriptor(const std::vector<ClipfileDescription>& files, STGMEDIUM& medium)
{
    OwnedBlock block = AllocateDescriptorBlock(files.size());
    if (block == nullptr)
        return DV_E_FORMATETC;
    {
        const GlobalLockScope lock(block.Get());
        if (lock.data() == nullptr) {
            CLIP_LOG(kLogError, "GlobalLock gMem fail.");
            return DV_E_FORMATETC;
        }
        fillGroup(*static_cast<FILEGROUPDESCRIPTORW*>(lock.data()), files);  // throws where memory runs out
    }
    block.GiveTo(medium);
    return S_OK;
}

HRESULT RenderAsyncFlag(STGMEDIUM& medium)
{
    OwnedBlock block(GlobalAlloc(GHND, sizeof(DWORD)));
    if (block == nullptr)
        return E_OUTOFMEMORY;
    {
        const GlobalLockScope lock(block.Get());
        if (lock.data() == nullptr)
            return E_OUTOFMEMORY;
        *static_cast<DWORD*>(lock.data()) = 1;
    }
    block.GiveTo(medium);
    return S_OK;
}

}  // namespace sd::clip
