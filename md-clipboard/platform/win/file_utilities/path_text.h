// Paths as text: nothing here asks the file system.
#pragma once

#include <string>
#include <string_view>

#include "sd/clip/clipboard_data.h"

namespace sd::clip {

void RemoveTrailingBackslashes(std::string& text);

// Removes trailing backslashes, then leading ones.
void TrimBackslashes(std::string& text);

// @return the position of the last backslash, or 0 if there is none
std::size_t FindLastBackslash(std::string_view text);

// Fills root, relativePath and fileName, and leaves the other fields alone.
// @param root the directory that fullPath is told relative to; its text is not compared, only its length counts
void SplitFilePath(ClipfileDescription& description, const std::string& fullPath, const std::string& root);

// Makes a path fit for a platform call, which refuses backslashes at the end of anything but the root of a drive.
std::string MakePlatformPath(std::string path);

}  // namespace sd::clip
