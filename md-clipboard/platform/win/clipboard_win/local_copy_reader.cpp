#include "clipboard_win/local_copy_reader.h"

#include <windows.h>

#include <utility>

#include "base/log.h"
#include "file_utilities/clip_file_list.h"
#include "file_utilities/encoding.h"
#include "support/drop_list.h"
#include "support/global_lock.h"

namespace sd::clip {

namespace {

enum class ReadFailure { kNone, kClipboardBusy, kNoData, kNotLocked, kEmpty };

struct CopiedFiles {
    ReadFailure failure = ReadFailure::kNone;
    DWORD error = 0;                  // of kNoData
    std::vector<std::wstring> paths;  // each with its terminator counted in its size
};

// Paths are not limited in length. A path that the platform does not give is left out.
std::vector<std::wstring> readPaths(const DropList& list, UINT count)
{
    std::vector<std::wstring> paths;
    for (UINT index = 0; index < count; ++index) {
        std::wstring path = list.ReadPath(index);
        if (!path.empty())
            paths.push_back(std::move(path));
    }
    return paths;
}

CopiedFiles readCopiedFiles(ClipboardGuard& guard)
{
    CopiedFiles files;
    const ClipboardGuard::Read opened(guard);
    if (!opened) {
        files.failure = ReadFailure::kClipboardBusy;
        return files;
    }
    const HANDLE block = ::GetClipboardData(CF_HDROP);
    if (block == nullptr) {
        files.error = GetLastError();
        files.failure = ReadFailure::kNoData;
        return files;
    }
    const DropList list(block);
    if (!list.IsLocked()) {
        files.failure = ReadFailure::kNotLocked;
        return files;
    }
    const UINT count = list.CountFiles();
    if (count == 0)
        files.failure = ReadFailure::kEmpty;
    else
        files.paths = readPaths(list, count);
    return files;
}

}  // namespace

std::shared_ptr<ClipboardData> LocalCopyReader::readText() const
{
    const ClipboardGuard::Read opened(mGuard);
    if (!opened)
        return nullptr;
    std::string text;
    {
        const GlobalLockScope lock(::GetClipboardData(CF_UNICODETEXT));
        if (lock.data() == nullptr)
            return nullptr;
        // The text of another program may lack its terminator: nothing is read beyond the block.
        text = WideToUtf8(lock.textUpToTerminator());
    }
    if (text.empty())
        return nullptr;
    auto record = std::make_shared<ClipboardTextDataImpl>();
    record->SetText(std::move(text));
    return record;
}

std::shared_ptr<std::vector<std::string>> LocalCopyReader::readPaths() const
{
    const CopiedFiles files = readCopiedFiles(mGuard);
    switch (files.failure) {
        case ReadFailure::kNone:
            break;
        case ReadFailure::kClipboardBusy:
            return nullptr;
        case ReadFailure::kNoData:
            CLIP_LOG(kLogError, "Get clipboard data failed! error code %d", static_cast<int>(files.error));
            return nullptr;
        case ReadFailure::kNotLocked:
            CLIP_LOG(kLogError, "GlobalLock error!");
            return nullptr;
        case ReadFailure::kEmpty:
            CLIP_LOG(kLogError, "DragQueryFile error, Files == 0!");
            return nullptr;
    }
    auto paths = std::make_shared<std::vector<std::string>>();
    for (const std::wstring& path : files.paths) {
        std::string text = WideToUtf8(path);
        if (!text.empty())
            paths->push_back(std::move(text));
    }
    return paths;
}

std::shared_ptr<ClipboardFileDataImpl> LocalCopyReader::describe(const std::vector<std::string>& paths,
                                                                 const std::function<bool()>& isExpanded)
{
    const auto list = std::make_unique<ClipFileList>(paths);
    list->ExpandAllFiles(isExpanded());
    std::vector<ClipfileDescription> files = list->TakeAllFiles();
    if (!files.empty()) {
        const ClipfileDescription& first = files.front();
        CLIP_LOG(kLogInfo,
                 "copy %d files to guest os, file[%d] : root(%s) relativePath(%s) fileName(%s) attributes(%ld) "
                 "mode(%d), size(%lld) ...",
                 static_cast<int>(files.size()), 0, first.root.c_str(), first.relativePath.c_str(),
                 first.fileName.c_str(), static_cast<long>(first.attributes), static_cast<int>(first.mode),
                 static_cast<long long>(first.size));
    }
    auto record = std::make_shared<ClipboardFileDataImpl>();
    record->SetFiles(std::move(files));
    return record;
}

}  // namespace sd::clip
