#include "file_clipboard_lazy_renderer/placeholder_name.h"

#include <algorithm>
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

std::vector<std::wstring> splitPath(std::wstring_view path)
{
    std::vector<std::wstring> components;
    std::size_t begin = path.find_first_not_of(kSeparators);
    while (begin != std::wstring_view::npos) {
        const std::size_t end = std::min(path.find_first_of(kSeparators, begin), path.size());
        components.emplace_back(path.substr(begin, end - begin));
        begin = path.find_first_not_of(kSeparators, end);
    }
    return components;
}

bool isSeparator(wchar_t unit)
{
    return unit == L'\\' || unit == L'/';
}

bool equalsUnc(const std::wstring& text)
{
    return text.size() == 3 && (text[0] | 0x20) == L'u' && (text[1] | 0x20) == L'n' && (text[2] | 0x20) == L'c';
}

}  // namespace

std::string makeSparseName(const ClipfileDescription& first, const std::string& suffix)
{
    return std::string(first.fileName.c_str()) + "." + suffix;
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
    const std::vector<std::wstring> components = splitPath(directory);
    if (components.empty())
        return true;
    const bool beginsAtRoot = isSeparator(directory[0]);
    const std::wstring& first = components[0];
    if (beginsAtRoot && (first == L"?" || first == L"." || first == L"??")) {
        const bool isShare = components.size() > 1 && equalsUnc(components[1]);
        return components.size() <= (isShare ? 4 : 2);
    }
    if (beginsAtRoot && directory.size() > 1 && isSeparator(directory[1]))
        return components.size() <= 2;  // server and share
    return components.size() == 1 && first.back() == L':';
}

}  // namespace sd::clip
