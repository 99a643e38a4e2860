#include "support/temporary_folder.h"

#include <windows.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace {

std::wstring makeUniquePath()
{
    static std::atomic<int> count{0};
    const std::wstring name = L"test-" + std::to_wstring(GetCurrentProcessId()) + L"-" +
                              std::to_wstring(GetTickCount64()) + L"-" + std::to_wstring(++count);
    return L"C:\\" + name;
}

}  // namespace

TemporaryFolder::TemporaryFolder() : mPath(makeUniquePath())
{
    if (!CreateDirectoryW(mPath.c_str(), nullptr))
        throw std::runtime_error("no temporary folder, error " + std::to_string(GetLastError()));
}

TemporaryFolder::~TemporaryFolder()
{
    std::error_code ignored;
    std::filesystem::remove_all(mPath, ignored);
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
