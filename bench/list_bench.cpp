#include "list_bench.h"

#include <memory>
#include <stdexcept>
#include <vector>

#include "bench_transfer.h"
#include "counted_memory.h"
#include "example_support/joined_ole.h"
#include "sd/clip/clipboard.h"
#include "stopwatch.h"

using namespace sd::clip;

namespace {

constexpr std::size_t kFewFiles = 1000;
constexpr std::size_t kManyFiles = 100000;
constexpr std::uint64_t kFileSize = 100;
constexpr int kRounds = 7;

using Lists = std::vector<std::shared_ptr<ClipboardFileDataImpl>>;

Lists makeLists(std::size_t filesOfEach)
{
    Lists lists;
    for (std::size_t files = 0; files < kManyFiles; files += filesOfEach)
        lists.push_back(makeGuestList(filesOfEach, kFileSize));
    return lists;
}

void setList(const std::shared_ptr<ClipboardFileDataImpl>& list)
{
    if (!Clipboard::Get()->SetClipboardData(ClipboardFormat::File, list))
        throw std::runtime_error("a list is refused");
}

double timeSetting(const Lists& lists)
{
    const Stopwatch watch;
    for (const auto& list : lists)
        setList(list);
    return watch.seconds();
}

double timeDescriptors(const std::vector<std::unique_ptr<BenchTransfer>>& transfers)
{
    const Stopwatch watch;
    for (const auto& transfer : transfers)
        transfer->renderDescriptor();
    return watch.seconds();
}

std::vector<std::unique_ptr<BenchTransfer>> makeTransfers(std::size_t filesOfEach)
{
    std::vector<std::unique_ptr<BenchTransfer>> transfers;
    for (std::size_t files = 0; files < kManyFiles; files += filesOfEach)
        transfers.push_back(std::make_unique<BenchTransfer>(makeGuestFiles(filesOfEach, kFileSize), ""));
    return transfers;
}

}  // namespace

BenchResult measureGrowthSet()
{
    const JoinedOle joined;
    Clipboard::Get()->SetFileClipboardSupported(true);
    const Lists few = makeLists(kFewFiles);
    const Lists many = makeLists(kManyFiles);
    timeSetting(few);  // starts everything up
    std::vector<double> ratios;
    for (int round = 0; round < kRounds; ++round) {
        const double fewSeconds = timeSetting(few);
        ratios.push_back(timeSetting(many) / fewSeconds);
    }
    setList(makeGuestList(1, kFileSize));
    return {"growth_set", median(ratios), "ratio", 1.2, "lower"};
}

BenchResult measureGrowthDescriptor()
{
    const JoinedOle joined;
    const auto few = makeTransfers(kFewFiles);
    const auto many = makeTransfers(kManyFiles);
    std::vector<double> ratios;
    for (int round = 0; round < kRounds; ++round) {
        const double fewSeconds = timeDescriptors(few);
        ratios.push_back(timeDescriptors(many) / fewSeconds);
    }
    return {"growth_descriptor", median(ratios), "ratio", 1.2, "lower"};
}

BenchResult measureBytesPerListedFile()
{
    const JoinedOle joined;
    Clipboard::Get()->SetFileClipboardSupported(true);
    setList(makeGuestList(1, kFileSize));  // starts everything up
    std::vector<double> bytes;
    for (int round = 0; round < kRounds; ++round) {
        const std::int64_t before = memoryInUse();
        setList(makeGuestList(kManyFiles, kFileSize));
        bytes.push_back(static_cast<double>(memoryInUse() - before) / kManyFiles);
        setList(makeGuestList(1, kFileSize));
    }
    return {"bytes_per_listed_file", median(bytes), "bytes", {}, "lower"};
}
