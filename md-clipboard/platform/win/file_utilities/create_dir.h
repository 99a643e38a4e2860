// Directories and files by narrow paths, which reach the platform byte for byte: the host chooses the cache directory
// and its encoding.
#pragma once

#include <string>

namespace sd::clip {

// What separates directories in a path for createDir; a backslash does not.
inline constexpr char gDirSeparators[] = "/";

// Creates a directory and the missing ones above it.
// @param path with forward slashes
// @return 0 if the directory exists or was created; with a separator at the end of a missing path the directory is
//         created and the result is -1 all the same
int createDir(const std::string& path);

// @return 0 if the file was removed
int RemoveFile(const std::string& path);

}  // namespace sd::clip
