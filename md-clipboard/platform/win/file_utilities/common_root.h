// The directory that a selection of paths has in common.
#pragma once

#include <string>
#include <vector>

namespace sd::clip {

// @param paths UTF-8, compared byte by byte
// @param root set if the result is 0; without a trailing backslash, empty for paths on several drives
// @return 0, or -1 if the selection or its first path is empty, or if one path is the beginning of all others
int FindCommonRoot(std::vector<std::string> paths, std::string& root);

}  // namespace sd::clip
