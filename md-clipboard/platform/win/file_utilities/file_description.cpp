#include "file_utilities/file_description.h"

#include <sys/stat.h>
#include <sys/types.h>

#include "base/file_time.h"
#include "base/log.h"
#include "file_utilities/detail_file_description.h"
#include "file_utilities/encoding.h"
#include "file_utilities/path_text.h"
#include "support/search_handle.h"

namespace sd::clip {

namespace {

std::int64_t toUnixTime(const FILETIME& time)
{
    return FileTimeToUnixTime(time.dwHighDateTime, time.dwLowDateTime);
}

void fillFromStatus(ClipfileDescription& description, const struct _stat64& status)
{
    description.mode = status.st_mode;
    if (status.st_mode & kModeDirectory)
        return;
    description.size = static_cast<std::uint64_t>(status.st_size);
    description.createTime = status.st_ctime;
    description.accessTime = status.st_atime;
    description.writeTime = status.st_mtime;
}

}  // namespace

void FillFromFindData(ClipfileDescription& description, const WIN32_FIND_DATAW& found)
{
    description.attributes = found.dwFileAttributes;
    if (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) {
        description.mode = kModeDirectory;
        return;
    }
    description.mode = kModeRegularFile;
    description.size = (static_cast<std::uint64_t>(found.nFileSizeHigh) << 32) + found.nFileSizeLow;
    description.accessTime = toUnixTime(found.ftLastAccessTime);
    description.writeTime = toUnixTime(found.ftLastWriteTime);
    description.createTime = toUnixTime(found.ftCreationTime);
}

DWORD SetFileDescription(ClipfileDescription& description, const std::string& fullPath, const std::string& root,
                         const WIN32_FIND_DATAW* found)
{
    SplitFilePath(description, fullPath, root);
    if (found != nullptr) {
        FillFromFindData(description, *found);
        return ERROR_SUCCESS;
    }

    const std::wstring path = Utf8ToWide(MakePlatformPath(fullPath));
    struct _stat64 status = {};
    if (_wstat64(path.c_str(), &status) == 0) {
        fillFromStatus(description, status);
        description.attributes = GetFileAttributesW(path.c_str());
        return ERROR_SUCCESS;
    }

    // A file that may not be opened is still shown by the listing of its directory.
    WIN32_FIND_DATAW entry = {};
    if (SearchHandle(FindFirstFileW(path.c_str(), &entry)).IsValid()) {
        FillFromFindData(description, entry);
        return ERROR_SUCCESS;
    }
    const DWORD error = GetLastError();
    CLIP_LOG(kLogError, "%s is not be found or does not have perssion to access. error code %d", fullPath.c_str(),
             static_cast<int>(error));
    description.root.clear();
    description.relativePath.clear();
    description.fileName.clear();
    return error;
}

}  // namespace sd::clip
