// What placeholders are named.
#pragma once

#include <algorithm>
#include <cwctype>
#include <filesystem>
#include <string>

// A name that ends in a dot and eight digits.
inline bool isPlaceholder(const std::filesystem::path& path)
{
    constexpr std::size_t kDigits = 8;
    const std::wstring suffix = path.extension().wstring();
    return suffix.size() == kDigits + 1 && std::all_of(suffix.begin() + 1, suffix.end(), std::iswdigit);
}
