#include "sink_bench.h"

#include <cstddef>
#include <string>
#include <vector>

#include "bench_folder.h"
#include "bench_transfer.h"
#include "stopwatch.h"

namespace {

constexpr std::size_t kSlices = 256;
constexpr std::size_t kSliceSize = 1048576;
constexpr std::size_t kReadSize = 65536;
constexpr int kRounds = 7;

// The application reads each slice as soon as it is there, outside of the time that is taken: a delivery asks when the
// application was last heard of.
void readSlice(IStream& stream, std::vector<unsigned char>& buffer)
{
    for (std::size_t begin = 0; begin < kSliceSize; begin += buffer.size())
        readWhole(stream, buffer);
}

// The two sides take turns, slice for slice, so that other work on the machine slows them alike. Both make new files,
// in folders of their own.
double measureRound(const std::wstring& work, std::vector<unsigned char>& bytes, std::size_t piece)
{
    const BenchFolder bareFolder(work);
    const BenchFolder folder(work);
    const BenchTransfer names(makeGuestFiles(1, kSlices * kSliceSize), bareFolder.cacheDirectory());
    BenchTransfer transfer(makeGuestFiles(1, kSlices * kSliceSize), folder.cacheDirectory());
    const auto stream = transfer.open(0);
    std::vector<unsigned char> buffer(kReadSize);
    double bare = 0;
    double sink = 0;
    for (std::size_t slice = 0; slice < kSlices; ++slice) {
        const std::wstring path = names.slicePath(0, static_cast<std::int32_t>(slice));
        bare += timeOf([&] { writeBareFile(path, bytes, piece); });
        sink += timeOf([&] {
            for (std::size_t begin = 0; begin < kSliceSize; begin += piece)
                transfer.deliver(0, bytes.data() + begin, piece);
        });
        readSlice(*stream.Get(), buffer);
    }
    transfer.checkFinished();
    return bare / sink;
}

Rounds measureRatios(const std::wstring& work, std::size_t piece)
{
    std::vector<unsigned char> bytes(kSliceSize, 0x5A);
    return runRounds(kRounds, [&] { return measureRound(work, bytes, piece); });
}

}  // namespace

BenchResult measureSink64k(const std::wstring& work)
{
    return {"sink_64k_vs_raw", measureRatios(work, 65536), "ratio", 0.95, "higher"};
}

BenchResult measureSink4k(const std::wstring& work)
{
    return {"sink_4k_vs_raw", measureRatios(work, 4096), "ratio", 0.8, "higher"};
}
