#include "written_file.h"

#include <stdexcept>

#include "example_support/utf8_arguments.h"

namespace {

std::runtime_error lastErrorOf(const char* what, const std::wstring& path)
{
    const DWORD error = GetLastError();
    return std::runtime_error(std::string(what) + " " + toUtf8(path) + ", error " + std::to_string(error));
}

bool isFolder(const std::wstring& path)
{
    const bool isDrive = !path.empty() && path.back() == L':';  // without a separator that is a device
    const DWORD attributes = GetFileAttributesW((isDrive ? path + L'\\' : path).c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

}  // namespace

void makeFolders(const std::wstring& path)
{
    if (isFolder(path) || CreateDirectoryW(path.c_str(), nullptr))
        return;
    const std::size_t separator = path.rfind(L'\\');
    if (GetLastError() != ERROR_PATH_NOT_FOUND || separator == std::wstring::npos)
        throw lastErrorOf("cannot make", path);
    makeFolders(path.substr(0, separator));
    if (!CreateDirectoryW(path.c_str(), nullptr))
        throw lastErrorOf("cannot make", path);
}

WrittenFile::WrittenFile(const std::wstring& path)
    : mPath(path),
      mFile(CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL,
                        nullptr))
{
    if (mFile == INVALID_HANDLE_VALUE)
        throw lastErrorOf("cannot make", path);
}

WrittenFile::~WrittenFile()
{
    CloseHandle(mFile);
    if (!mKept)
        DeleteFileW(mPath.c_str());
}

void WrittenFile::write(const void* data, std::size_t size)
{
    DWORD written = 0;
    if (!WriteFile(mFile, data, static_cast<DWORD>(size), &written, nullptr) || written != size)
        throw lastErrorOf("cannot write", mPath);
}
