#pragma once

#include <windows.h>

#include <cstddef>
#include <string>

/// Makes a folder and those that it lies in, as far as they are not there. Throws std::runtime_error on failure.
void makeFolders(const std::wstring& path);

/// A file that is being written. It replaces one of the same name, and is removed again unless it was kept.
class WrittenFile {
public:
    /// Throws std::runtime_error if it cannot be made.
    explicit WrittenFile(const std::wstring& path);
    WrittenFile(const WrittenFile&) = delete;
    WrittenFile& operator=(const WrittenFile&) = delete;
    ~WrittenFile();

    /// Throws std::runtime_error if not all can be written.
    void write(const void* data, std::size_t size);

    /// The file is whole.
    void keep()
    {
        mKept = true;
    }

private:
    const std::wstring mPath;
    const HANDLE mFile;
    bool mKept = false;
};
