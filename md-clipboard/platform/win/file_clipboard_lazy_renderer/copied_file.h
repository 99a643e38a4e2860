// Looks at the file that a copy has put on the clipboard.
#pragma once

#include <functional>
#include <string>

namespace sd::clip {

// Opens the clipboard without a window; waits for up to a second for a program that has it open.
// @param isSought asked if the clipboard offers exactly one file, with its path in UTF-8, while the clipboard is open
// @return what `isSought` says; false for no file and for several, and where the clipboard can't be read, which is in
//         the log
// Threads: any.
bool matchCopiedFile(const std::function<bool(const std::string& path)>& isSought);

}  // namespace sd::clip
