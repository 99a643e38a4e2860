// A selection of paths, and the flat list of all files below it.
#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <unordered_map>
#include <vector>

#include "file_utilities/detail_file_description.h"
#include "sd/clip/clipboard_data.h"

namespace sd::clip {

// Threads: no lock; made, expanded and read by one thread. All texts are UTF-8.
class ClipFileList {
public:
    ClipFileList() = default;

    // Describes each path that can be read; the others are logged and dropped.
    // A path may carry a terminator in its size; it ends there.
    explicit ClipFileList(std::vector<std::string> paths);

    // Fills the flat list unless it holds something already.
    // @param expand whether a directory stands for the files below it, instead of for itself
    void ExpandAllFiles(bool expand);

    // Fills the flat list anew.
    void RebuildAllFiles(bool expand);

    // Appends copies of the flat list's entries.
    void CopyAllFiles(std::vector<ClipfileDescription>& files) const;

    // Empties the flat list.
    // @return its entries in their order: moved and not copied, without spare capacity
    std::vector<ClipfileDescription> TakeAllFiles();

    // Makes FindFileIndex fast. It does not follow later changes of the flat list.
    void BuildFileIndex();

    // @return the position of the entry with that relative name, or -1
    std::int32_t FindFileIndex(std::string name);

    // @return the entry of the flat list, with a root, or null; valid until the list is rebuilt
    DetailFileDescription* GetFileDescription(std::int32_t position);

private:
    friend class TestAccess;
    struct Walk;

    void BuildFilesDesc();
    void TraverseDirectory(const std::string& path, const std::string& root);
    void ListDirectory(Walk& walk, const std::wstring& directory, const std::string& root);

    std::string mRootPath;  // what the selection has in common; may be empty
    std::vector<DetailFileDescription> mSelectedFiles;
    std::vector<std::string> mSelectedPaths;
    std::unordered_map<std::string, std::int32_t> mFileIndex;  // relative name to position plus one
    std::deque<DetailFileDescription> mAllFiles;  // grows without a copy, and shrinks as its entries are taken
    bool mCancelTraverse = false;
};

}  // namespace sd::clip
