// Files on disk: a folder for one measurement, and files as bare platform calls write and read them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

// A new, empty folder for one scope.
class BenchFolder {
public:
    // Throws std::runtime_error if it can't be made.
    explicit BenchFolder(const std::wstring& parent);
    ~BenchFolder();
    BenchFolder(const BenchFolder&) = delete;
    BenchFolder& operator=(const BenchFolder&) = delete;

    // As a host names its cache directory: UTF-8, forward slashes, one at the end.
    std::string cacheDirectory() const;

    // Deletes the files in it.
    void clear() const;

private:
    const std::wstring mPath;
};

// What follows throws std::runtime_error where a call fails.

// Makes the file and writes the bytes, `piece` of them with each call.
void writeBareFile(const std::wstring& path, const std::vector<unsigned char>& bytes, std::size_t piece);

// Reads the file to its end, a buffer full with each call.
// @return bytes that were read
std::uint64_t readBareFile(const std::wstring& path, std::vector<unsigned char>& buffer);
