#include "cache_directory.h"

#include <windows.h>

#include <algorithm>
#include <utility>

#include "example_support/utf8_arguments.h"

namespace {

std::string findOwnFolder()
{
    constexpr DWORD kLongestPath = 32767;  // UTF-16 units
    std::wstring program(kLongestPath, L'\0');
    program.resize(GetModuleFileNameW(nullptr, program.data(), kLongestPath));
    return toUtf8(program.substr(0, program.rfind(L'\\')));
}

}  // namespace

std::string chooseCacheDirectory(std::string asked)
{
    std::string directory = asked.empty() ? findOwnFolder() + "\\cache" : std::move(asked);
    std::replace(directory.begin(), directory.end(), '\\', '/');
    return directory.back() == '/' ? directory : directory + '/';
}
