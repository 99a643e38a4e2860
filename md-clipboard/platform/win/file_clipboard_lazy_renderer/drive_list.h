// Takes lists of drives apart, as text: nothing here asks the platform.
#pragma once

#include <string>
#include <vector>

namespace sd::clip {

// What stands between the delimiters, without empty parts: a list of roots as the platform gives it ends in several.
std::vector<std::wstring> splitByDelimiter(const std::wstring& text, wchar_t delimiter);

}  // namespace sd::clip
