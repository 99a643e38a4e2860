#include "read_bench.h"

#include <stdexcept>
#include <vector>

#include "bench_folder.h"
#include "bench_transfer.h"
#include "stopwatch.h"

namespace {

constexpr std::size_t kSlices = 512;
constexpr std::size_t kSliceSize = 1048576;
constexpr int kRounds = 15;

void checkSize(std::uint64_t size)
{
    if (size != kSliceSize)
        throw std::runtime_error("bytes are missing");
}

void readSlice(IStream& stream, std::vector<unsigned char>& buffer)
{
    ULONG count = 0;
    stream.Read(buffer.data(), static_cast<ULONG>(buffer.size()), &count);
    checkSize(count);
}

// The two sides take turns, slice for slice, so that other work on the machine slows them alike. They read different
// slices: the second to read one would find it in the processor's caches.
double measureRound(const BenchTransfer& transfer, std::vector<unsigned char>& buffer)
{
    double bare = 0;
    double library = 0;
    const auto stream = transfer.open(0);
    for (std::size_t slice = 0; slice < kSlices; ++slice) {
        const auto other = static_cast<std::int32_t>((slice + kSlices / 2) % kSlices);
        const std::wstring path = transfer.slicePath(0, other);
        bare += timeOf([&] { checkSize(readBareFile(path, buffer)); });
        library += timeOf([&] { readSlice(*stream.Get(), buffer); });
    }
    return bare / library;
}

}  // namespace

BenchResult measureRead(const std::wstring& work)
{
    const BenchFolder folder(work);
    BenchTransfer transfer(makeGuestFiles(1, kSlices * kSliceSize), folder.cacheDirectory());
    std::vector<unsigned char> buffer(kSliceSize, 0x5A);
    transfer.request();
    for (std::size_t slice = 0; slice < kSlices; ++slice)
        transfer.deliver(0, buffer.data(), buffer.size());
    transfer.checkFinished();
    std::vector<double> ratios;
    ratios.reserve(kRounds);
    for (int round = 0; round < kRounds; ++round)
        ratios.push_back(measureRound(transfer, buffer));
    return {"read_vs_raw", median(ratios), "ratio", 0.85, "higher"};
}
