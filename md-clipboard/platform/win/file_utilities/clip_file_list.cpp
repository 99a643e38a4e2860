#include "file_utilities/clip_file_list.h"

#include <windows.h>

#include <deque>
#include <memory>
#include <utility>

#include "base/log.h"
#include "file_utilities/common_root.h"
#include "file_utilities/encoding.h"
#include "file_utilities/file_description.h"
#include "file_utilities/file_names.h"
#include "file_utilities/path_text.h"
#include "support/search_handle.h"

namespace sd::clip {

namespace {

bool isDirectory(const ClipfileDescription& description)
{
    return (description.attributes & FILE_ATTRIBUTE_DIRECTORY) != 0 || (description.mode & kModeDirectory) != 0;
}

void removeTrailingNuls(std::wstring& text)
{
    const std::size_t last = text.find_last_not_of(L'\0');
    if (last != std::wstring::npos)
        text.resize(last + 1);
}

}  // namespace

// What a walk keeps from one directory to the next.
struct ClipFileList::Walk {
    std::deque<std::wstring> directories;  // still to be listed, the next one last
    WIN32_FIND_DATAW entry = {};           // the last entry seen
    bool hasSeenEntry = false;
    std::size_t fileCount = 0;
};

ClipFileList::ClipFileList(std::vector<std::string> paths) : mSelectedPaths(std::move(paths))
{
    for (std::string& path : mSelectedPaths)
        path.resize(std::char_traits<char>::length(path.c_str()));
    if (FindCommonRoot(mSelectedPaths, mRootPath) == 0)
        BuildFilesDesc();
}

void ClipFileList::BuildFilesDesc()
{
    for (const std::string& path : mSelectedPaths) {
        DetailFileDescription description;
        const DWORD error = SetFileDescription(description, path, mRootPath);
        if (error != ERROR_SUCCESS) {
            CLIP_LOG(kLogError, "File %s access failed! error code %d", path.c_str(), static_cast<int>(error));
            continue;
        }
        mSelectedFiles.push_back(std::move(description));
    }
}

void ClipFileList::ExpandAllFiles(bool expand)
{
    if (!mAllFiles.empty())
        return;
    for (const DetailFileDescription& selected : mSelectedFiles) {
        if (mCancelTraverse) {
            CLIP_LOG(kLogError, "Cancel the traverse file work.");
            return;
        }
        if (expand && isDirectory(selected))
            TraverseDirectory(GetFullPath(selected), mRootPath);
        else
            mAllFiles.push_back(selected);
    }
    if (mAllFiles.empty())
        CLIP_LOG(kLogError, "Have no valid file list!!!, file copy will be canceled.");
}

void ClipFileList::RebuildAllFiles(bool expand)
{
    mAllFiles.clear();
    ExpandAllFiles(expand);
}

void ClipFileList::CopyAllFiles(std::vector<ClipfileDescription>& files) const
{
    files.insert(files.end(), mAllFiles.begin(), mAllFiles.end());
}

std::vector<ClipfileDescription> ClipFileList::TakeAllFiles()
{
    std::vector<ClipfileDescription> files;
    files.reserve(mAllFiles.size());
    for (; !mAllFiles.empty(); mAllFiles.pop_front())
        files.push_back(std::move(mAllFiles.front()));
    return files;
}

void ClipFileList::TraverseDirectory(const std::string& path, const std::string& root)
{
    if (path.empty())
        return;
    auto walk = std::make_unique<Walk>();
    std::wstring directory = Utf8ToWide(path);
    removeTrailingNuls(directory);
    if (!directory.empty())  // it could not be converted; before a pattern it would name the root of the drive
        walk->directories.push_back(std::move(directory));
    while (!walk->directories.empty()) {
        directory = std::move(walk->directories.back());
        walk->directories.pop_back();
        ListDirectory(*walk, directory, root);
    }
    if (walk->fileCount != 0 || path == root)
        return;

    DetailFileDescription description;
    if (walk->hasSeenEntry) {
        // A directory, mostly the ".." of an empty one, which makes this description a directory's too. A file that
        // lost its name must not lend the folder its size and times.
        if ((walk->entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0)
            walk->entry.dwFileAttributes = FILE_ATTRIBUTE_DIRECTORY;
        SetFileDescription(description, path, root, &walk->entry);
    } else {
        // Nothing could be listed, so nothing is known: no attributes, no mode, and no times of the year 1601.
        SplitFilePath(description, path, root);
        description.attributes = 0;
    }
    mAllFiles.push_back(std::move(description));
}

void ClipFileList::ListDirectory(Walk& walk, const std::wstring& directory, const std::string& root)
{
    // Converted and split once and not for each file: this loop must keep up with the listing itself.
    const std::string path = WideToUtf8(directory);
    if (path.empty())  // could not be converted: its files would be offered as those of the root
        return;
    DetailFileDescription file;
    SplitFilePath(file, path + "\\*", root);  // any name does: that of each file takes its place

    WIN32_FIND_DATAW& entry = walk.entry;
    const SearchHandle search(FindFirstFileW((directory + L"\\*").c_str(), &entry));
    if (!search.IsValid())
        return;
    walk.hasSeenEntry = true;
    do {
        if (IsDotEntry(entry.cFileName))
            continue;
        if (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) {
            walk.directories.push_back(directory + L'\\' + entry.cFileName);
            continue;
        }
        file.fileName = WideToUtf8(entry.cFileName);
        if (file.fileName.empty())  // could not be converted: the directory would be offered as a file
            continue;
        FillFromFindData(file, entry);
        DetailFileDescription& added = mAllFiles.emplace_back(file);
        if (file.fileName.find('\\') != std::string::npos)  // under Wine a name may have one
            SplitFilePath(added, path + '\\' + file.fileName, root);
        ++walk.fileCount;
    } while (FindNextFileW(search.Get(), &entry) && !mCancelTraverse);
}

void ClipFileList::BuildFileIndex()
{
    if (mAllFiles.empty())
        return;
    mFileIndex.clear();
    for (std::size_t i = 0; i < mAllFiles.size(); ++i)
        mFileIndex[GetRelativeName(mAllFiles[i])] = static_cast<std::int32_t>(i + 1);
}

std::int32_t ClipFileList::FindFileIndex(std::string name)
{
    if (!mFileIndex.empty())
        return mFileIndex[std::move(name)] - 1;  // a name that is entered by this gets 0
    for (std::size_t i = 0; i < mAllFiles.size(); ++i) {
        if (GetRelativeName(mAllFiles[i]) == name)
            return static_cast<std::int32_t>(i);
    }
    return -1;
}

DetailFileDescription* ClipFileList::GetFileDescription(std::int32_t position)
{
    if (position < 0 || static_cast<std::size_t>(position) >= mAllFiles.size())
        return nullptr;
    DetailFileDescription& description = mAllFiles[static_cast<std::size_t>(position)];
    if (description.root.empty())
        description.root = mRootPath;
    return &description;
}

}  // namespace sd::clip
