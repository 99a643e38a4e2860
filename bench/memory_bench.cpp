#include "memory_bench.h"

#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <stdexcept>
#include <vector>

#include "bench_folder.h"
#include "bench_transfer.h"
#include "counted_memory.h"

namespace {

constexpr std::size_t kFiles = 8;
constexpr std::size_t kSlices = 1024;
constexpr std::size_t kSliceSize = 1048576;
constexpr std::size_t kDelivery = 65536;

// The committed memory that belongs to this process alone. Counted here, since Wine does not tell the system's figure.
std::int64_t privateBytes()
{
    std::int64_t total = 0;
    MEMORY_BASIC_INFORMATION region;
    const char* address = nullptr;
    while (VirtualQuery(address, &region, sizeof region) != 0) {
        if (region.State == MEM_COMMIT && region.Type == MEM_PRIVATE)
            total += static_cast<std::int64_t>(region.RegionSize);
        address = static_cast<const char*>(region.BaseAddress) + region.RegionSize;
    }
    return total;
}

void readSlice(IStream& stream, std::vector<unsigned char>& buffer)
{
    std::size_t total = 0;
    while (total < kSliceSize) {
        ULONG count = 0;
        stream.Read(buffer.data(), static_cast<ULONG>(buffer.size()), &count);
        if (count == 0)
            throw std::runtime_error("bytes are missing");
        total += count;
    }
}

// Host and application take turns, slice for slice, so that the disk need not hold all of it.
// @return the most private bytes that were seen, at the end of any slice
std::int64_t passFile(BenchTransfer& transfer, std::size_t index, std::vector<unsigned char>& buffer)
{
    std::int64_t most = 0;
    const auto stream = transfer.open(index);
    for (std::size_t slice = 0; slice < kSlices; ++slice) {
        for (std::size_t begin = 0; begin < kSliceSize; begin += kDelivery)
            transfer.deliver(index, buffer.data(), kDelivery);
        readSlice(*stream.Get(), buffer);
        most = std::max(most, privateBytes());
        DeleteFileW(transfer.slicePath(index, static_cast<std::int32_t>(slice)).c_str());
    }
    return most;
}

}  // namespace

BenchResult measurePeak(const std::wstring& work)
{
    const BenchFolder folder(work);
    std::vector<unsigned char> buffer(kDelivery, 0x5A);
    // What a process starts with its first list and keeps: OLE, and a thread for each drive.
    BenchTransfer(makeGuestFiles(1, 1), folder.cacheDirectory()).request();
    const std::int64_t privateBefore = privateBytes();
    const std::int64_t countedBefore = memoryInUse();
    resetMemoryPeak();
    BenchTransfer transfer(makeGuestFiles(kFiles, kSlices * kSliceSize), folder.cacheDirectory());
    std::int64_t most = privateBefore;
    for (std::size_t index = 0; index < kFiles; ++index)
        most = std::max(most, passFile(transfer, index, buffer));
    transfer.checkFinished();
    // What is allocated and freed between two looks at the system's figure is in the count of operator new.
    const std::int64_t peak = std::max(most - privateBefore, memoryPeak() - countedBefore);
    return {"peak_mib_8gib", summarize({static_cast<double>(peak) / 1048576}), "MiB", 4, "lower"};
}

BenchResult measureBytesPerDeliveredFile(const std::wstring& work)
{
    constexpr std::size_t kSmallFiles = 1000;
    constexpr std::size_t kSmallSize = 100;
    constexpr int kRounds = 5;
    std::vector<unsigned char> bytes(kSmallSize, 0x5A);
    const Rounds kept = runRounds(kRounds, [&] {
        const BenchFolder folder(work);
        BenchTransfer transfer(makeGuestFiles(kSmallFiles, kSmallSize), folder.cacheDirectory());
        transfer.request();
        const std::int64_t before = memoryInUse();
        for (std::size_t i = 0; i < kSmallFiles; ++i)
            transfer.deliver(i, bytes.data(), bytes.size());
        transfer.checkFinished();
        return static_cast<double>(memoryInUse() - before) / kSmallFiles;
    });
    return {"bytes_per_delivered_file", kept, "bytes", {}, "lower"};
}
