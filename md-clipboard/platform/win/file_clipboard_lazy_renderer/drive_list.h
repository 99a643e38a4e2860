// Splits the text in which the platform lists its drives.
#pragma once

#include <string>
#include <vector>

namespace sd::clip {

// What stands between the delimiters, without empty parts: a list of roots as the platform gives it ends in several.
std::vector<std::wstring> splitByDelimiter(const std::wstring& text, wchar_t delimiter);

}  // namespace sd::clip
