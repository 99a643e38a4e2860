#include "list_bench.h"

#include <windows.h>

#include <shlobj.h>

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

// The least that a descriptor takes: a zeroed block of its size, and a ready entry written into every place.
void writeBareDescriptor(std::size_t count)
{
    FILEDESCRIPTORW entry = {};
    const std::size_t size = sizeof(FILEGROUPDESCRIPTORW) + (count - 1) * sizeof entry;
    const HGLOBAL block = GlobalAlloc(GMEM_SHARE | GMEM_ZEROINIT | GMEM_MOVEABLE, size);
    auto* const group = static_cast<FILEGROUPDESCRIPTORW*>(GlobalLock(block));
    if (group == nullptr)
        throw std::runtime_error("there is no block");
    for (std::size_t i = 0; i < count; ++i)
        group->fgd[i] = entry;
    GlobalUnlock(block);
    GlobalFree(block);
}

double timeBareDescriptors(std::size_t filesOfEach)
{
    const Stopwatch watch;
    for (std::size_t files = 0; files < kManyFiles; files += filesOfEach)
        writeBareDescriptor(filesOfEach);
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
    const Rounds ratios = runRounds(kRounds, [&] {
        const double fewSeconds = timeSetting(few);
        return timeSetting(many) / fewSeconds;
    });
    setList(makeGuestList(1, kFileSize));
    return {"growth_set", ratios, "ratio", 1.1, "lower"};
}

BenchResult measureGrowthDescriptor()
{
    const JoinedOle joined;
    const auto few = makeTransfers(kFewFiles);
    const auto many = makeTransfers(kManyFiles);
    const Rounds ratios = runRounds(kRounds, [&] {
        const double fewCost = timeDescriptors(few) / timeBareDescriptors(kFewFiles);
        const double manyCost = timeDescriptors(many) / timeBareDescriptors(kManyFiles);
        return manyCost / fewCost;
    });
    return {"growth_descriptor", ratios, "ratio", 1.1, "lower"};
}

BenchResult measureBytesPerListedFile()
{
    const JoinedOle joined;
    Clipboard::Get()->SetFileClipboardSupported(true);
    setList(makeGuestList(1, kFileSize));  // starts everything up
    const Rounds bytes = runRounds(kRounds, [&] {
        const std::int64_t before = memoryInUse();
        setList(makeGuestList(kManyFiles, kFileSize));
        const std::int64_t kept = memoryInUse() - before;
        setList(makeGuestList(1, kFileSize));
        return static_cast<double>(kept) / kManyFiles;
    });
    return {"bytes_per_listed_file", bytes, "bytes", {}, "lower"};
}
