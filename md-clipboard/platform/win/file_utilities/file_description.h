// Fills descriptions from the file system.
#pragma once

#include <windows.h>

#include <string>

#include "sd/clip/clipboard_data.h"

namespace sd::clip {

// Fills all fields; of a directory, size and times stay as they were.
// @param found an entry of a listing that describes the path already; without it the file system is asked
// @return 0, or the Win32 code with which the path could not be read: then its three texts are empty
DWORD SetFileDescription(ClipfileDescription& description, const std::string& fullPath, const std::string& root,
                         const WIN32_FIND_DATAW* found = nullptr);

// Fills mode, attributes and, for a file, size and times.
void FillFromFindData(ClipfileDescription& description, const WIN32_FIND_DATAW& found);

}  // namespace sd::clip
