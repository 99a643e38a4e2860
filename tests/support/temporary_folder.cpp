#include "support/temporary_folder.h"

#include <windows.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <utility>
#include <vector>

namespace {

std::wstring makeUniquePath()
{
    static std::atomic<int> count{0};
    const std::wstring name = L"test-" + std::to_wstring(GetCurrentProcessId()) + L"-" +
                              std::to_wstring(GetTickCount64()) + L"-" + std::to_wstring(++count);
    return L"C:\\" + name;
}

// One pass, so that something that can't be removed ends it too.
void removeFolder(const std::wstring& folder)
{
    std::vector<std::pair<std::wstring, bool>> entries;  // path, whether it is a folder
    WIN32_FIND_DATAW entry;
    const HANDLE search = FindFirstFileW((folder + L"\\*").c_str(), &entry);
    if (search == INVALID_HANDLE_VALUE)
        return;
    do {
        const std::wstring name = entry.cFileName;
        if (name != L"." && name != L"..")
            entries.emplace_back(folder + L"\\" + name, (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0);
    } while (FindNextFileW(search, &entry));
    FindClose(search);
    for (const auto& [path, isFolder] : entries) {
        SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
        if (isFolder)
            removeFolder(path);
        else
            DeleteFileW(path.c_str());
    }
    RemoveDirectoryW(folder.c_str());
}

}  // namespace

TemporaryFolder::TemporaryFolder() : mPath(makeUniquePath())
{
    if (!CreateDirectoryW(mPath.c_str(), nullptr))
        throw std::runtime_error("no temporary folder, error " + std::to_string(GetLastError()));
}

TemporaryFolder::~TemporaryFolder()
{
    removeFolder(L"\\\\?\\" + mPath);  // whatever the length of the paths in it
}

std::string TemporaryFolder::utf8Path() const
{
    return std::filesystem::path(mPath).u8string();
}

std::wstring TemporaryFolder::addFile(const std::wstring& relativePath, const std::string& contents) const
{
    const std::filesystem::path path = std::filesystem::path(mPath) / relativePath;
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << contents;
    return path.wstring();
}

std::wstring TemporaryFolder::addFolder(const std::wstring& relativePath) const
{
    const std::filesystem::path path = std::filesystem::path(mPath) / relativePath;
    std::filesystem::create_directories(path);
    return path.wstring();
}
