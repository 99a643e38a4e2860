// The names and paths of placeholders, as text: nothing here asks the file system.
#pragma once

#include <string>

#include "sd/clip/clipboard_data.h"

namespace sd::clip {

// @return `<fileName>.<suffix>`; a terminator that the guest's name carries ends it
std::string makeSparseName(const ClipfileDescription& first, const std::string& suffix);

// @return that many decimal digits, drawn anew each time: two placeholders of one name must differ
std::string makeRandomDigits(int count);

// @return everything up to and including the last separator of either kind, then the name; without one the name alone
std::wstring replaceFileName(const std::wstring& path, const std::wstring& name);

// @return the name with "(2)" before its last dot, or at its end. It does not count: a second round gives "(2)(2)".
std::string appendCopySuffix(const std::string& name);

// @return the directory without its last backslash and what follows it: `D:\dest\` gives `D:\dest`, `D:\` gives `D:`
std::string cutAtLastBackslash(const std::string& directory);

// Whether the path contains the directory anywhere, byte for byte. An empty directory contains nothing: every copy of
// one file would otherwise be taken for our own in a host that never named a cache directory.
bool liesInCache(const std::wstring& path, const std::wstring& cacheDirectory);
bool liesInCache(const std::string& path, const std::string& cacheDirectory);

// Whether cleaning may not touch the directory: it is empty, or the root of a drive or a share in any form
// (`C:`, `C:\`, `\`, `C:\a\..`, `\\?\C:\`, `\\server\share\`, `\\?\UNC\server\share`, `\\?\Volume{...}\`). Where a
// relative path leads, only the platform knows: such a path is asked about in its full form too.
bool isEmptyOrRoot(const std::wstring& directory);

}  // namespace sd::clip
