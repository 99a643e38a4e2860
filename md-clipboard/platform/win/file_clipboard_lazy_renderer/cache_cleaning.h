// Deletes what earlier lists left in the cache directory.
#pragma once

#include <functional>
#include <string>

namespace sd::clip {

// Deletes the files of a directory, but neither the folders in it nor what is in these. What can't be deleted is in the
// log and stops nothing. An empty directory and the root of a drive or a share are refused.
//
// @param directory with or without a separator at its end
// @param isSpared asked for each file right before its deletion, with its name as the platform lists it
// @return whether the directory could be listed, whatever became of its files
// Threads: any.
bool cleanDirectory(const std::wstring& directory, const std::function<bool(const wchar_t* name)>& isSpared);

}  // namespace sd::clip
