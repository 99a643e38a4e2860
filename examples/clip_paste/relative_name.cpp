#include "relative_name.h"

#include <algorithm>

namespace {

constexpr std::wstring_view kSeparators = L"\\/";

bool isLetter(wchar_t unit)
{
    return (unit >= L'a' && unit <= L'z') || (unit >= L'A' && unit <= L'Z');
}

bool beginsAtRoot(std::wstring_view name)
{
    const bool hasDrive = name.size() >= 2 && isLetter(name[0]) && name[1] == L':';
    return hasDrive || kSeparators.find(name.front()) != std::wstring_view::npos;
}

}  // namespace

std::optional<std::wstring> findPlaceBelow(std::wstring_view name)
{
    if (name.empty() || beginsAtRoot(name) || name.find(L'\0') != std::wstring_view::npos)
        return std::nullopt;
    std::wstring place;
    for (std::size_t begin = 0; begin <= name.size();) {
        const std::size_t end = std::min(name.find_first_of(kSeparators, begin), name.size());
        const std::wstring_view part = name.substr(begin, end - begin);
        if (part == L"..")
            return std::nullopt;
        if (!part.empty() && part != L".") {
            if (!place.empty())
                place += L'\\';
            place += part;
        }
        begin = end + 1;
    }
    return place.empty() ? std::nullopt : std::make_optional(place);
}
