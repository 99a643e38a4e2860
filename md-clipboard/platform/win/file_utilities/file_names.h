// The three text forms of a description.
#pragma once

#include <string>

#include "sd/clip/clipboard_data.h"

namespace sd::clip {

// @return relativePath and fileName, joined by a backslash
std::string GetRelativeName(const ClipfileDescription& description);

// @return the same with forward slashes only
std::string GetRelativeNameSlashed(const ClipfileDescription& description);

// @return root, relativePath and fileName, joined by backslashes
std::string GetFullPath(const ClipfileDescription& description);

}  // namespace sd::clip
