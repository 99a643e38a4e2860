// One file on its way: deliveries and reads of random sizes, in a random order, give the bytes that were delivered.
#include "file_stream/transfer_file.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <chrono>
#include <filesystem>

#include "fuzz_check.h"

namespace {

constexpr std::size_t kMostBytes = 1000;

// One for the process. Slices of an earlier input are written over.
class SliceFolder {
public:
    SliceFolder()
    {
        const std::filesystem::path memory = "/dev/shm";  // twenty times as many inputs as on a disk
        const auto base = std::filesystem::exists(memory) ? memory : std::filesystem::temp_directory_path();
        const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
        mPath = base / ("fuzzed-slices-" + std::to_string(now));
        std::filesystem::create_directories(mPath);
    }
    ~SliceFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(mPath, ignored);
    }
    SliceFolder(const SliceFolder&) = delete;
    SliceFolder& operator=(const SliceFolder&) = delete;

    std::string slicePath(std::int32_t index) const
    {
        return (mPath / std::to_string(index)).string();
    }

private:
    std::filesystem::path mPath;
};

class Transfer {
public:
    Transfer(const SliceFolder& folder, std::size_t size)
        : mFolder(folder), mBytes(size, '\0'), mFile("file", static_cast<std::int64_t>(size))
    {
        for (std::size_t i = 0; i < size; ++i)
            mBytes[i] = static_cast<char>(i * 37 + i / 256);
    }

    std::size_t undelivered() const
    {
        return mBytes.size() - mDelivered;
    }

    // The slice ends with the file's last byte at the latest.
    void deliver(std::size_t count, bool endsSlice)
    {
        count = std::min(count, undelivered());
        if (count == 0)
            return;
        const std::string path = mFolder.slicePath(mFile.SliceCount());
        require(mFile.OpenSlice(path), "a slice can be opened");
        mFile.Write(reinterpret_cast<const unsigned char*>(mBytes.data() + mDelivered), count);
        mDelivered += count;
        require(mFile.Position() == static_cast<std::int64_t>(mDelivered - finished()), "the position is the slice's");
        require(mFile.ReadySize() == static_cast<std::int64_t>(mDelivered), "the bytes count as ready");
        if (!endsSlice && undelivered() > 0)
            return;
        mFile.CloseSlice(path);
        mFile.NotifySliceReady();
        mSliceEnds.push_back(mDelivered);
    }

    // Reads unless the reader would have to wait.
    void read(std::uint32_t length)
    {
        const bool isAtEnd = mCopied == mBytes.size();
        if (!isAtEnd && mCopied == finished())
            return;
        std::string buffer(length, '\0');
        std::uint32_t count = length + 1;
        require(mFile.Read(buffer.data(), length, &count), "a finished slice is not waited for");
        const std::size_t expected = isAtEnd ? 0 : std::min<std::size_t>(length, sliceEnd() - mCopied);
        require(count == expected, "a read gives what is left of its slice, and nothing at the end of the file");
        require(mBytes.compare(mCopied, expected, buffer, 0, expected) == 0, "the bytes are those that were delivered");
        mCopied = isAtEnd ? 0 : mCopied + count;
    }

    void restart()
    {
        mFile.Restart();
        mCopied = 0;
    }

    void readWhole(std::uint32_t length)
    {
        restart();
        while (mCopied < mBytes.size())
            read(length);
        read(length);
    }

private:
    // Bytes in finished slices.
    std::size_t finished() const
    {
        return mSliceEnds.empty() ? 0 : mSliceEnds.back();
    }

    // Where the slice ends that holds the next byte.
    std::size_t sliceEnd() const
    {
        return *std::upper_bound(mSliceEnds.begin(), mSliceEnds.end(), mCopied);
    }

    const SliceFolder& mFolder;
    std::string mBytes;
    sd::clip::TransferFile mFile;
    std::size_t mDelivered = 0;
    std::size_t mCopied = 0;  // in this pass
    std::vector<std::size_t> mSliceEnds;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const SliceFolder folder;
    FuzzedDataProvider input(data, size);
    Transfer transfer(folder, input.ConsumeIntegralInRange<std::size_t>(0, kMostBytes));
    while (input.remaining_bytes() > 0) {
        const auto amount = input.ConsumeIntegral<std::uint8_t>();
        switch (input.ConsumeIntegralInRange(0, 4)) {
            case 0:
                transfer.deliver(amount, false);
                break;
            case 1:
                transfer.deliver(amount, true);
                break;
            case 2:
                transfer.restart();
                break;
            default:
                transfer.read(amount);
        }
    }
    while (transfer.undelivered() > 0)
        transfer.deliver(kMostBytes, true);
    transfer.readWhole(7);
    transfer.readWhole(kMostBytes);
    return 0;
}
