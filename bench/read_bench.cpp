#include "read_bench.h"

#include <cstddef>
#include <stdexcept>
#include <utility>
#include <vector>

#include "bench_folder.h"
#include "bench_transfer.h"
#include "stopwatch.h"

namespace {

constexpr std::size_t kSlices = 256;
constexpr std::size_t kSliceSize = 1048576;
constexpr int kRounds = 9;

void readSlice(IStream& stream, std::vector<unsigned char>& buffer)
{
    for (std::size_t begin = 0; begin < kSliceSize; begin += buffer.size())
        readWhole(stream, buffer);
}

void readBareSlice(const std::wstring& path, std::vector<unsigned char>& buffer)
{
    if (readBareFile(path, buffer) != kSliceSize)
        throw std::runtime_error("bytes are missing");
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
        bare += timeOf([&] { readBareSlice(path, buffer); });
        library += timeOf([&] { readSlice(*stream.Get(), buffer); });
    }
    return bare / library;
}

// @param piece bytes of each call, on both sides
Rounds measureRatios(const std::wstring& work, std::size_t piece)
{
    const BenchFolder folder(work);
    BenchTransfer transfer(makeGuestFiles(1, kSlices * kSliceSize), folder.cacheDirectory());
    std::vector<unsigned char> bytes(kSliceSize, 0x5A);
    transfer.request();
    for (std::size_t slice = 0; slice < kSlices; ++slice)
        transfer.deliver(0, bytes.data(), bytes.size());
    transfer.checkFinished();
    std::vector<unsigned char> buffer(piece);
    return runRounds(kRounds, [&] { return measureRound(transfer, buffer); });
}

}  // namespace

BenchResult measureRead(const std::wstring& work)
{
    return {"read_vs_raw", measureRatios(work, 1048576), "ratio", 0.95, "higher"};
}

BenchResult measureRead64k(const std::wstring& work)
{
    return {"read_64k_vs_raw", measureRatios(work, 65536), "ratio", 0.9, "higher"};
}

BenchResult measureRead4k(const std::wstring& work)
{
    return {"read_4k_vs_raw", measureRatios(work, 4096), "ratio", 0.75, "higher"};
}
