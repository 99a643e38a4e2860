#include "bench_folder.h"

#include <windows.h>

#include <algorithm>
#include <atomic>
#include <stdexcept>

#include "file_utilities/encoding.h"

namespace {

std::wstring makeUniquePath(const std::wstring& parent)
{
    static std::atomic<int> count{0};
    return parent + L"\\clip-bench-" + std::to_wstring(GetCurrentProcessId()) + L"-" + std::to_wstring(++count);
}

// A file handle for one scope.
class BareFile {
public:
    BareFile(const std::wstring& path, DWORD access, DWORD disposition)
        : mHandle(CreateFileW(path.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, disposition,
                              FILE_ATTRIBUTE_NORMAL, nullptr))
    {
        if (mHandle == INVALID_HANDLE_VALUE)
            throw std::runtime_error("a file can't be opened, error " + std::to_string(GetLastError()));
    }
    ~BareFile()
    {
        CloseHandle(mHandle);
    }
    BareFile(const BareFile&) = delete;
    BareFile& operator=(const BareFile&) = delete;

    HANDLE get() const
    {
        return mHandle;
    }

private:
    const HANDLE mHandle;
};

}  // namespace

BenchFolder::BenchFolder(const std::wstring& parent) : mPath(makeUniquePath(parent))
{
    CreateDirectoryW(parent.c_str(), nullptr);
    if (!CreateDirectoryW(mPath.c_str(), nullptr))
        throw std::runtime_error("no folder to work in, error " + std::to_string(GetLastError()));
}

BenchFolder::~BenchFolder()
{
    clear();
    RemoveDirectoryW(mPath.c_str());
}

std::string BenchFolder::cacheDirectory() const
{
    std::string path = sd::clip::WideToUtf8(mPath);
    std::replace(path.begin(), path.end(), '\\', '/');
    return path + '/';
}

void BenchFolder::clear() const
{
    std::vector<std::wstring> paths;
    WIN32_FIND_DATAW entry;
    const HANDLE search = FindFirstFileW((mPath + L"\\*").c_str(), &entry);
    if (search == INVALID_HANDLE_VALUE)
        return;
    do {
        if ((entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0)
            paths.push_back(mPath + L"\\" + entry.cFileName);
    } while (FindNextFileW(search, &entry));
    FindClose(search);
    for (const std::wstring& path : paths)
        DeleteFileW(path.c_str());
}

void writeBareFile(const std::wstring& path, const std::vector<unsigned char>& bytes, std::size_t piece)
{
    const BareFile file(path, GENERIC_WRITE, CREATE_ALWAYS);
    for (std::size_t begin = 0; begin < bytes.size(); begin += piece) {
        const auto size = static_cast<DWORD>(std::min(piece, bytes.size() - begin));
        DWORD written = 0;
        if (!WriteFile(file.get(), bytes.data() + begin, size, &written, nullptr) || written != size)
            throw std::runtime_error("a file can't be written, error " + std::to_string(GetLastError()));
    }
}

std::uint64_t readBareFile(const std::wstring& path, std::vector<unsigned char>& buffer)
{
    const BareFile file(path, GENERIC_READ, OPEN_EXISTING);
    std::uint64_t total = 0;
    for (;;) {
        DWORD count = 0;
        if (!ReadFile(file.get(), buffer.data(), static_cast<DWORD>(buffer.size()), &count, nullptr))
            throw std::runtime_error("a file can't be read, error " + std::to_string(GetLastError()));
        if (count == 0)
            return total;
        total += count;
    }
}
