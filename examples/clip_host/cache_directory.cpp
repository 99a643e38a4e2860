#include "cache_directory.h"

#include <windows.h>

#include <algorithm>
#include <filesystem>
#include <stdexcept>

#include "example_support/utf8_arguments.h"

namespace {

std::string findOwnFolder()
{
    constexpr DWORD kLongestPath = 32767;  // UTF-16 units
    std::wstring program(kLongestPath, L'\0');
    program.resize(GetModuleFileNameW(nullptr, program.data(), kLongestPath));
    return toUtf8(program.substr(0, program.rfind(L'\\')));
}

/// @param path as the command line names it
/// @return the same without the prefix of long paths, which the system does not report; a volume without a letter
///         keeps it
std::string removeLongPathPrefix(const std::string& path)
{
    const std::string prefix = R"(\\?\)";
    const std::string sharePrefix = R"(\\?\UNC\)";
    if (path.rfind(sharePrefix, 0) == 0)
        return R"(\\)" + path.substr(sharePrefix.size());
    const bool hasDrive =
        path.rfind(prefix, 0) == 0 && path.size() > prefix.size() + 1 && path[prefix.size() + 1] == ':';
    return hasDrive ? path.substr(prefix.size()) : path;
}

/// @param path full, of something that exists
/// @return the same in the letters in which it stands on the disk, and with long names for short ones
std::filesystem::path findSystemSpelling(const std::filesystem::path& path)
{
    std::wstring drive = path.root_path().wstring();
    CharUpperBuffW(drive.data(), static_cast<DWORD>(drive.size()));
    std::filesystem::path spelling = drive;
    for (const std::filesystem::path& part : path.relative_path()) {
        WIN32_FIND_DATAW found;
        const HANDLE search = FindFirstFileW((spelling / part).c_str(), &found);
        if (search == INVALID_HANDLE_VALUE)
            throw std::runtime_error("cannot look at " + toUtf8(path.wstring()));
        FindClose(search);
        spelling /= found.cFileName;
    }
    return spelling;
}

}  // namespace

std::string chooseCacheDirectory(const std::string& asked)
{
    std::string directory = removeLongPathPrefix(asked);
    if (directory.empty())
        directory = findOwnFolder() + "\\cache";
    std::replace(directory.begin(), directory.end(), '\\', '/');
    return directory.back() == '/' ? directory : directory + '/';
}

std::string choosePlaceholderDirectory(const std::string& asked)
{
    const auto asWritten = std::filesystem::path(toUtf16(chooseCacheDirectory(asked) + "clip-host-placeholder"));
    const auto directory = std::filesystem::absolute(asWritten).lexically_normal();
    std::filesystem::create_directories(directory);
    return chooseCacheDirectory(toUtf8(findSystemSpelling(directory).wstring()));
}
