#include "guest_files.h"

#include <windows.h>

#include "example_support/utf8_arguments.h"

namespace {

using sd::clip::ClipfileDescription;

constexpr std::uint16_t kModeDirectory = 0x4000;
constexpr std::uint16_t kModeFile = 0x8000;

std::uint64_t join(DWORD high, DWORD low)
{
    return (std::uint64_t{high} << 32) | low;
}

std::int64_t secondsSince1970(const FILETIME& time)
{
    constexpr std::int64_t kFrom1601To1970 = 11644473600;
    constexpr std::int64_t kTicksOfASecond = 10000000;
    return static_cast<std::int64_t>(join(time.dwHighDateTime, time.dwLowDateTime)) / kTicksOfASecond - kFrom1601To1970;
}

/// @return whether the entry could be looked at; one that went meanwhile cannot
bool describe(const std::filesystem::path& root, const std::filesystem::path& path, ClipfileDescription& file)
{
    WIN32_FILE_ATTRIBUTE_DATA found;
    if (!GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &found))
        return false;
    const bool directory = (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    file.root = toUtf8(root.wstring());
    file.relativePath = toUtf8(path.parent_path().lexically_relative(root).wstring());
    if (file.relativePath == ".")
        file.relativePath.clear();  // lies in the root itself
    file.fileName = toUtf8(path.filename().wstring());
    file.attributes = found.dwFileAttributes;
    file.mode = directory ? kModeDirectory : kModeFile;
    file.size = directory ? 0 : join(found.nFileSizeHigh, found.nFileSizeLow);
    file.createTime = secondsSince1970(found.ftCreationTime);
    file.accessTime = secondsSince1970(found.ftLastAccessTime);
    file.writeTime = secondsSince1970(found.ftLastWriteTime);
    return true;
}

}  // namespace

std::vector<ClipfileDescription> listGuestFiles(const std::filesystem::path& directory)
{
    std::vector<ClipfileDescription> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(directory)) {
        ClipfileDescription file;
        if (describe(directory, entry.path(), file))
            files.push_back(file);
    }
    return files;
}

std::filesystem::path findSource(const ClipfileDescription& file)
{
    return std::filesystem::path(toUtf16(file.root)) / toUtf16(file.relativePath) / toUtf16(file.fileName);
}

bool isDirectory(const ClipfileDescription& file)
{
    return (file.mode & kModeDirectory) != 0;
}

GuestTotals sumUp(const std::vector<ClipfileDescription>& files)
{
    GuestTotals totals;
    for (const ClipfileDescription& file : files) {
        totals.files += isDirectory(file) ? 0 : 1;
        totals.bytes += file.size;
    }
    return totals;
}

std::string formatGuestTotals(const GuestTotals& totals)
{
    return std::to_string(totals.files) + " files, " + std::to_string(totals.bytes) + " bytes";
}
