// The border between the library's texts, which are UTF-8, and the platform's wide ones.
#pragma once

#include <string>
#include <string_view>

namespace sd::clip {

// Invalid sequences become U+FFFD. No terminator is added.
std::wstring Utf8ToWide(std::string_view text);
std::string WideToUtf8(std::wstring_view text);

}  // namespace sd::clip
