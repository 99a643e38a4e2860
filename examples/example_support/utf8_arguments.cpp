#include "example_support/utf8_arguments.h"

#include <windows.h>

#include <shellapi.h>

#include <memory>

std::vector<std::string> readUtf8Arguments()
{
    int count = 0;
    const std::unique_ptr<LPWSTR, decltype(&LocalFree)> words(CommandLineToArgvW(GetCommandLineW(), &count),
                                                              &LocalFree);
    std::vector<std::string> arguments;
    for (int i = 1; words != nullptr && i < count; ++i)
        arguments.push_back(toUtf8(words.get()[i]));
    return arguments;
}

std::string toUtf8(const std::wstring& text)
{
    const int units = static_cast<int>(text.size());
    const int size = WideCharToMultiByte(CP_UTF8, 0, text.data(), units, nullptr, 0, nullptr, nullptr);
    std::string result(static_cast<std::size_t>(size), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), units, result.data(), size, nullptr, nullptr);
    return result;
}

std::wstring toUtf16(const std::string& text)
{
    const int bytes = static_cast<int>(text.size());
    const int size = MultiByteToWideChar(CP_UTF8, 0, text.data(), bytes, nullptr, 0);
    std::wstring result(static_cast<std::size_t>(size), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, text.data(), bytes, result.data(), size);
    return result;
}
