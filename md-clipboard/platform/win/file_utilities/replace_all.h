// Replacing text in text.
#pragma once

#include <string>

namespace sd::clip {

// Replaces every occurrence; a replacement is not searched again. An empty text is found nowhere.
std::string ReplaceAll(std::string source, const std::string& text, const std::string& replacement);

}  // namespace sd::clip
