#include "file_clipboard_lazy_renderer/drive_roots.h"

#include <windows.h>

#include "base/log.h"
#include "file_clipboard_lazy_renderer/drive_list.h"

namespace sd::clip {

namespace {

// All roots, each with its terminator; empty if they can't be told.
std::wstring readDriveStrings()
{
    std::wstring drives(GetLogicalDriveStringsW(0, nullptr), L'\0');
    if (!drives.empty() && GetLogicalDriveStringsW(static_cast<DWORD>(drives.size()), drives.data()) == 0)
        drives.clear();
    if (drives.empty())
        CLIP_LOG(kLogFatal, "GetLogicalDriveStrings() failed with error code: %d", static_cast<int>(GetLastError()));
    return drives;
}

}  // namespace

std::optional<std::vector<std::wstring>> listDriveRoots()
{
    const std::wstring drives = readDriveStrings();
    if (drives.empty())
        return std::nullopt;
    return splitByDelimiter(drives, L'\0');
}

}  // namespace sd::clip
