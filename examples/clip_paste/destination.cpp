#include "destination.h"

#include <windows.h>

#include <stdexcept>

#include "example_support/utf8_arguments.h"

std::wstring makeVerbatim(const std::wstring& path)
{
    if (path.compare(0, 4, L"\\\\?\\") == 0)
        return path;
    return path.compare(0, 2, L"\\\\") == 0 ? L"\\\\?\\UNC" + path.substr(1) : L"\\\\?\\" + path;
}

std::wstring findDestination(const std::string& given)
{
    const std::wstring path = toUtf16(given);
    const DWORD size = GetFullPathNameW(path.c_str(), 0, nullptr, nullptr);
    std::wstring full(size, L'\0');
    full.resize(GetFullPathNameW(path.c_str(), size, full.data(), nullptr));
    while (!full.empty() && full.back() == L'\\')
        full.pop_back();
    if (full.empty())
        throw std::runtime_error("there is no folder " + given);
    return makeVerbatim(full);
}
