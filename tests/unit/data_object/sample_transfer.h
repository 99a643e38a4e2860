// A transfer for tests: a folder for slices, a record, and what host and pasting application do with it.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "data_object/slice_path.h"
#include "data_object/transfer_files.h"
#include "file_stream/transfer_file.h"

namespace sd::clip {

// The fields of a record, as const as the record is.
class TestAccess {
public:
    template <class File>
    static auto& slices(File& file)
    {
        return file.mSlices;
    }
    template <class File>
    static auto& sliceWriter(File& file)
    {
        return file.mSliceWriter;
    }
    template <class File>
    static auto& sliceReader(File& file)
    {
        return file.mSliceReader;
    }
    template <class File>
    static auto& copiedSize(File& file)
    {
        return file.mCopiedSize;
    }
    template <class File>
    static auto& readSliceIndex(File& file)
    {
        return file.mReadSliceIndex;
    }
    template <class File>
    static auto& currentSlice(File& file)
    {
        return file.mCurrentSlice;
    }
    static Mutex& writingMutex(TransferFile& file)
    {
        return file.mClaim.WritingMutex();
    }
    static std::vector<const void*> fields(const TransferFile& file)
    {
        return {&file.mFileKey,        &file.mSlices,       &file.mFileSize,    &file.mReadySize,
                &file.mSliceWriter,    &file.mSliceCount,   &file.mSliceReader, &file.mCopiedSize,
                &file.mReadSliceIndex, &file.mCurrentSlice, &file.mSliceMutex,  &file.mSliceReady};
    }
    static std::vector<const TransferFile*> records(const TransferFiles& files)
    {
        std::vector<const TransferFile*> result;
        for (const auto& file : files.mFiles)
            result.push_back(file.get());
        return result;
    }
};

}  // namespace sd::clip

constexpr std::size_t kMebibyte = 1048576;

// A new, empty folder for one scope, on any platform.
class SliceFolder {
public:
    SliceFolder()
    {
        static std::atomic<int> count{0};
        const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
        const std::string name = "slices-" + std::to_string(now) + "-" + std::to_string(++count);
        mPath = std::filesystem::temp_directory_path() / name;
        std::filesystem::create_directories(mPath);
    }
    ~SliceFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(mPath, ignored);
    }
    SliceFolder(const SliceFolder&) = delete;
    SliceFolder& operator=(const SliceFolder&) = delete;

    // As a host names its cache directory: with a separator at its end.
    std::string directory() const
    {
        return mPath.generic_string() + "/";
    }

private:
    std::filesystem::path mPath;
};

// Bytes of every value that differ from place to place.
inline std::string makeBytes(std::size_t size, std::uint32_t seed = 1)
{
    std::string bytes(size, '\0');
    std::uint32_t state = seed * 2654435761u + 12345u;
    for (char& byte : bytes) {
        state = state * 1664525u + 1013904223u;
        byte = static_cast<char>(state >> 24);
    }
    return bytes;
}

inline std::string readWholeFile(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

struct ReadResult {
    bool ready = false;
    std::string bytes;
};

class SampleTransfer {
public:
    explicit SampleTransfer(std::int64_t fileSize) : file("folder\\file.bin", fileSize) {}

    std::string nextPath() const
    {
        return sd::clip::MakeSlicePath(mFolder.directory(), file.Key(), file.SliceCount());
    }

    // A delivery that stays in the open slice.
    void write(const std::string& bytes)
    {
        file.OpenSlice(nextPath());
        file.Write(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
    }

    void finishSlice()
    {
        file.CloseSlice(nextPath());
        file.NotifySliceReady();
    }

    void addSlice(const std::string& bytes)
    {
        write(bytes);
        finishSlice();
    }

    // A delivery as the host's arrive: it ends the slice where it takes it to a megabyte, or the file to its size.
    void deliver(const std::string& bytes)
    {
        write(bytes);
        if (file.Position() >= static_cast<std::int64_t>(kMebibyte) || file.ReadySize() == file.FileSize())
            finishSlice();
    }

    ReadResult read(std::uint32_t length)
    {
        ReadResult result;
        result.bytes.resize(length);
        std::uint32_t count = 0xFFFFFFFF;
        result.ready = file.Read(result.bytes.data(), length, &count);
        result.bytes.resize(count);
        return result;
    }

private:
    SliceFolder mFolder;  // outlives the record's streams, since an open file cannot be removed everywhere

public:
    sd::clip::TransferFile file;
};
