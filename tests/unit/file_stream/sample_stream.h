// A stream for tests: descriptions, a transfer whose records the test fills, and a look inside.
#pragma once

#include <windows.h>

#include <wrl/client.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "data_object/transfer_files.h"
#include "file_stream/file_stream.h"
#include "support/event_engine.h"
#include "support/recording_log.h"
#include "support/temporary_folder.h"

namespace sd::clip {

class TestAccess {
public:
    static Mutex& mutex(FileStream& stream)
    {
        return stream.mMutex;
    }
    static std::string& filePath(FileStream& stream)
    {
        return stream.mFilePath;
    }
    static const std::string& fileName(const FileStream& stream)
    {
        return stream.mFileName;
    }
    static std::ifstream& localFile(FileStream& stream)
    {
        return stream.mLocalFile;
    }
    static std::uint64_t fileSize(const FileStream& stream)
    {
        return stream.mFileSize;
    }
    static const FileRequestFunc& dataFunc(const FileStream& stream)
    {
        return stream.mFileDataFunc;
    }
    static const FileCancelFunc& cancelFunc(const FileStream& stream)
    {
        return stream.mFileCancelFunc;
    }
    static bool& isWaiting(FileStream& stream)
    {
        return stream.mIsWaiting;
    }
    static bool& seekable(FileStream& stream)
    {
        return stream.mSeekable;
    }
    static bool cancelled(const FileStream& stream)
    {
        return stream.mCancelled;
    }
    static std::function<bool()>& destroyFunc(FileStream& stream)
    {
        return stream.mDestroyFunc;
    }
    static std::uint64_t waitTime(const FileStream& stream)
    {
        return stream.mReader.mWaitClipboardReadTime;
    }
    static const FileTransfer* transfer(const FileStream& stream)
    {
        return stream.mReader.mFileTransfer.get();
    }
    static TransferFile* transferFile(const FileStream& stream)
    {
        return stream.mReader.mTransferFile;
    }
    static bool unusedFieldsAreClear(const FileStream& stream)
    {
        return !stream.mUnusedFlag1 && !stream.mUnusedFlag2 && stream.mUnusedNumber1 == 0 &&
               stream.mUnusedNumber2 == 0 && stream.mUnusedNumber3 == 0;
    }
    template <class File>
    static auto& sliceMutex(File& file)
    {
        return file.mSliceMutex;
    }
    template <class File>
    static auto& sliceReady(File& file)
    {
        return file.mSliceReady;
    }
    static std::vector<const void*> members(const FileStream& stream)
    {
        return {&stream.mDestroyFunc,
                &stream.mRefCount,
                &stream.mFilePath,
                &stream.mFileName,
                &stream.mLocalFile,
                &stream.mFileSize,
                &stream.mFileDataFunc,
                &stream.mFileCancelFunc,
                &stream.mFileDescription,
                &stream.mIsWaiting,
                &stream.mSeekable,
                &stream.mUnusedFlag1,
                &stream.mUnusedFlag2,
                &stream.mUnusedNumber1,
                &stream.mUnusedNumber2,
                &stream.mUnusedNumber3,
                &stream.mReader.mWaitClipboardReadTime,
                &stream.mReader.mFileTransfer,
                &stream.mReader.mTransferFile};
    }
};

}  // namespace sd::clip

constexpr std::uint64_t kMebibyte = 1048576;

using StreamPointer = Microsoft::WRL::ComPtr<sd::clip::FileStream>;

inline std::shared_ptr<sd::clip::DetailFileDescription> makeDescription(const std::string& name, std::uint64_t size)
{
    auto description = std::make_shared<sd::clip::DetailFileDescription>();
    description->relativePath = "folder";
    description->fileName = name;
    description->size = size;
    return description;
}

// Bytes of every value that differ from place to place.
inline std::string makeBytes(std::size_t size)
{
    std::string bytes(size, '\0');
    std::uint32_t state = 1;
    for (char& value : bytes) {
        state = state * 1664525u + 1013904223u;
        value = static_cast<char>(state >> 24);
    }
    return bytes;
}

// The data object's side, with real records and slices.
class FakeTransfer : public sd::clip::FileTransfer {
public:
    // Called inside GetTransferFile and CancelRemoteTransfer, on the reader's thread. Set before the first Read.
    std::function<void()> duringLookUp;
    std::function<void()> duringCancel;

    std::atomic<int> lookUps{0};
    std::atomic<int> cancels{0};

    ~FakeTransfer() = default;

    bool startRequestFileData(const sd::clip::ClipfileDescription& /*file*/, bool& rejected) override
    {
        rejected = false;
        return false;
    }
    sd::clip::TransferFile* GetTransferFile(const sd::clip::ClipfileDescription& file) override
    {
        ++lookUps;
        if (duringLookUp)
            duringLookUp();
        return mFiles.Find(sd::clip::MakeFileKey(file));
    }
    sd::clip::RequestFileState GetRequestFileState() override
    {
        return sd::clip::RequestFileState::kTransfering;
    }
    bool IsDataTransfering() override
    {
        return true;
    }
    void CancelRemoteTransfer() override
    {
        ++cancels;
        if (duringCancel)
            duringCancel();
    }
    void NotifyFileTransferFailed() override {}

    // What the first delivery of a file does.
    sd::clip::TransferFile& addRecord(const sd::clip::ClipfileDescription& file)
    {
        return *mFiles.Add(sd::clip::MakeFileKey(file), static_cast<std::int64_t>(file.size));
    }

    // Another finished slice for the file, whose record is made if there is none.
    // @return its path
    std::string addSlice(const sd::clip::ClipfileDescription& file, const std::string& bytes)
    {
        sd::clip::TransferFile* const known = mFiles.Find(sd::clip::MakeFileKey(file));
        sd::clip::TransferFile& record = known ? *known : addRecord(file);
        std::string path = mFolder.utf8Path() + "\\" + file.fileName + "." + std::to_string(record.SliceCount());
        record.OpenSlice(path);
        record.Write(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
        record.CloseSlice(path);
        record.NotifySliceReady();
        return path;
    }

    const TemporaryFolder& folder() const
    {
        return mFolder;
    }

private:
    TemporaryFolder mFolder;  // outlives the streams of the records, which may have a slice open
    sd::clip::TransferFiles mFiles;
};

struct ReadResult {
    HRESULT result = E_UNEXPECTED;
    ULONG count = 0xCCCCCCCC;
    std::string bytes;
};

inline ReadResult readStream(IStream& stream, ULONG length)
{
    ReadResult read;
    read.bytes.resize(length == 0 ? 1 : length);
    read.result = stream.Read(read.bytes.data(), length, &read.count);
    read.bytes.resize(read.count <= length ? read.count : 0);
    return read;
}

// Takes over the reference that a new stream begins with. Not by Attach: one toolchain's adds another.
inline StreamPointer holdStream(sd::clip::FileStream* made)
{
    StreamPointer stream;
    *stream.GetAddressOf() = made;
    return stream;
}

inline StreamPointer makeStream(std::shared_ptr<sd::clip::DetailFileDescription> description,
                                std::shared_ptr<FakeTransfer> transfer)
{
    return holdStream(
        new sd::clip::FileStream(std::move(description), std::move(transfer), sd::clip::kFileModeTransfer));
}

// A file of the guest's, its slices and a stream over it.
class SampleReading {
protected:
    void setUpFile(std::uint64_t size, std::size_t sliceSize)
    {
        description = makeDescription("a.bin", size);
        contents = makeBytes(size);
        for (std::size_t begin = 0; begin < size; begin += sliceSize)
            slices.push_back(transfer->addSlice(*description, contents.substr(begin, sliceSize)));
        stream = makeStream(description, transfer);
    }

    ReadResult read(ULONG length)
    {
        return readStream(*stream.Get(), length);
    }

    void expectRead(ULONG length, HRESULT result, const std::string& bytes)
    {
        const ReadResult found = read(length);
        EXPECT_EQ(found.result, result);
        EXPECT_EQ(found.count, bytes.size());
        EXPECT_TRUE(found.bytes == bytes);
    }

    // The whole file in pieces, up to the first read of no bytes.
    std::string readToEnd(ULONG length)
    {
        std::string bytes;
        for (;;) {
            const ReadResult found = read(length);
            bytes += found.bytes;
            if (found.count == 0)
                return bytes;
        }
    }

    std::shared_ptr<FakeTransfer> transfer = std::make_shared<FakeTransfer>();
    std::shared_ptr<sd::clip::DetailFileDescription> description;
    std::string contents;
    std::vector<std::string> slices;
    StreamPointer stream;
};

// The messages of one operation, by the function that wrote them.
inline std::vector<std::string> messagesOf(const std::string& function)
{
    std::vector<std::string> messages;
    for (const LogLine& line : RecordingLog::lines()) {
        if (line.function == function)
            messages.push_back(line.message);
    }
    return messages;
}

inline STATSTG statistics(IStream& stream, DWORD flags = STATFLAG_DEFAULT)
{
    STATSTG statistics;
    std::memset(&statistics, 0xCC, sizeof statistics);
    EXPECT_EQ(stream.Stat(&statistics, flags), S_OK);
    return statistics;
}

// What the events tell of slices that did not come, and what a host's listener does then.
struct DownloadTimeouts {
    std::mutex mutex;
    std::vector<std::pair<std::int64_t, std::int64_t>> reported;  // file size, copied size
    std::function<void(std::int64_t fileSize)> duringReport;      // set before the first Read
};

inline DownloadTimeouts& downloadTimeouts()
{
    static DownloadTimeouts timeouts;
    return timeouts;
}

inline void noteDownloadTimeout(const EngineEvent& event)
{
    const std::int64_t copiedSize = std::stoll(event.message.substr(event.message.rfind(':') + 1));
    {
        const std::lock_guard<std::mutex> lock(downloadTimeouts().mutex);
        downloadTimeouts().reported.emplace_back(event.number, copiedSize);
    }
    if (downloadTimeouts().duringReport)
        downloadTimeouts().duringReport(event.number);
}

inline const EventEngine gDownloadTimeoutsEngine(&noteDownloadTimeout);
