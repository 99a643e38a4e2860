#include "file_clipboard_lazy_renderer/placeholder_name.h"

#include <algorithm>
#include <cstddef>
#include <random>
#include <string_view>
#include <vector>

namespace sd::clip {

namespace {

constexpr const wchar_t* kSeparators = L"\\/";

template <class Text>
bool containsDirectory(const Text& path, const Text& directory)
{
    return !directory.empty() && path.find(directory) != Text::npos;
}

using Components = std::vector<std::wstring_view>;

bool isSeparator(wchar_t unit)
{
    return unit == L'\\' || unit == L'/';
}

Components splitPath(std::wstring_view path)
{
    Components components;
    std::size_t begin = path.find_first_not_of(kSeparators);
    while (begin != std::wstring_view::npos) {
        const std::size_t end = std::min(path.find_first_of(kSeparators, begin), path.size());
        components.push_back(path.substr(begin, end - begin));
        begin = path.find_first_not_of(kSeparators, end);
    }
    return components;
}

// What is left of them for the platform; ".." at a root stays there.
template <class Iterator>
Components resolveDots(Iterator begin, Iterator end)
{
    Components resolved;
    for (; begin != end; ++begin) {
        if (*begin == L".." && !resolved.empty())
            resolved.pop_back();
        if (*begin != L"." && *begin != L"..")
            resolved.push_back(*begin);
    }
    return resolved;
}

// @param lower ASCII letters, all small
bool equalsIgnoringCase(std::wstring_view text, std::wstring_view lower)
{
    return std::equal(text.begin(), text.end(), lower.begin(), lower.end(), [](wchar_t unit, wchar_t expected) {
        return (unit >= L'A' && unit <= L'Z' ? unit - L'A' + L'a' : unit) == expected;
    });
}

// @param components those behind the prefix of a device path: a volume, or "UNC", server and share; then its folders
bool isDeviceRoot(const Components& components)
{
    constexpr std::ptrdiff_t kShareEnd = 3;
    const auto volume = std::find_if_not(components.begin(), components.end(), [](std::wstring_view component) {
        return equalsIgnoringCase(component, L"global");  // names the list of volumes itself
    });
    // Where the volume behind "GLOBALROOT" ends can't be told from the text.
    if (volume == components.end() || equalsIgnoringCase(*volume, L"globalroot"))
        return true;
    return components.end() - volume <= (equalsIgnoringCase(*volume, L"unc") ? kShareEnd : 1);
}

// @param path begins with a separator
bool isRootBehindSeparator(std::wstring_view path)
{
    constexpr std::ptrdiff_t kShareEnd = 2;  // server and share
    const bool isDoubled = path.size() > 1 && isSeparator(path[1]);
    const Components components = splitPath(path);
    if (!components.empty()) {
        const std::wstring_view first = components[0];
        if (first == L"?" || first == L"??" || (isDoubled && first == L"."))
            return isDeviceRoot(resolveDots(components.begin() + 1, components.end()));
    }
    const auto folders = components.begin() + (isDoubled ? std::min(kShareEnd, std::ptrdiff_t(components.size())) : 0);
    return resolveDots(folders, components.end()).empty();
}

}  // namespace

std::string makeSparseName(const ClipfileDescription& first, const std::string& suffix)
{
    const char* const name = first.fileName.c_str();  // up to a terminator that it carries
    return std::string(name) + "." + suffix;
}

std::string makeRandomDigits(int count)
{
    std::random_device device;
    std::mt19937 generator(device());
    std::uniform_int_distribution<int> digit(0, 9);
    std::string digits;
    for (int i = 0; i < count; ++i)
        digits += static_cast<char>('0' + digit(generator));
    return digits;
}

std::wstring replaceFileName(const std::wstring& path, const std::wstring& name)
{
    const std::size_t last = path.find_last_of(kSeparators);
    return last == std::wstring::npos ? name : path.substr(0, last + 1) + name;
}

std::string appendCopySuffix(const std::string& name)
{
    const std::size_t dot = name.rfind('.');
    return std::string(name).insert(dot == std::string::npos ? name.size() : dot, "(2)");
}

std::string cutAtLastBackslash(const std::string& directory)
{
    return directory.substr(0, directory.rfind('\\'));
}

bool liesInCache(const std::wstring& path, const std::wstring& cacheDirectory)
{
    return containsDirectory(path, cacheDirectory);
}

bool liesInCache(const std::string& path, const std::string& cacheDirectory)
{
    return containsDirectory(path, cacheDirectory);
}

bool isEmptyOrRoot(const std::wstring& directory)
{
    const std::wstring_view path = directory.c_str();  // as the platform reads it, which stops at a terminator
    if (path.empty())
        return true;
    if (isSeparator(path[0]))
        return isRootBehindSeparator(path);
    if (path.size() < 2 || path[1] != L':')
        return false;
    const Components components = splitPath(path.substr(2));
    return resolveDots(components.begin(), components.end()).empty();
}

}  // namespace sd::clip
