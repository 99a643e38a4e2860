#include "file_utilities/common_root.h"

#include <algorithm>

#include "file_utilities/path_text.h"

namespace sd::clip {

namespace {

// Counts the bytes in which all paths begin alike.
std::size_t measureCommonBeginning(const std::vector<std::string>& paths)
{
    const std::string& first = paths.front();
    for (std::size_t position = 0; position < first.size(); ++position) {
        for (const std::string& path : paths) {
            if (position >= path.size() || path[position] != first[position])
                return position;
        }
    }
    return first.size();
}

}  // namespace

int FindCommonRoot(std::vector<std::string> paths, std::string& root)
{
    if (paths.empty() || paths.front().empty())
        return -1;

    const std::size_t length = measureCommonBeginning(paths);
    const bool isBeginningOfAll =
        std::any_of(paths.begin(), paths.end(), [length](const std::string& path) { return path.size() == length; });
    if (paths.size() > 1 && isBeginningOfAll)
        return -1;

    // Only the first path tells where to cut. What is left may end inside a name when the parents differ; the guest
    // counts on names relative to exactly this text.
    std::string& first = paths.front();
    std::string common = first.substr(0, length);
    RemoveTrailingBackslashes(first);
    common.resize(std::min(common.size(), FindLastBackslash(first)));
    RemoveTrailingBackslashes(common);
    root = common;
    return 0;
}

}  // namespace sd::clip
