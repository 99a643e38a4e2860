#include "small_files_bench.h"

#include <stdexcept>
#include <vector>

#include "bench_folder.h"
#include "bench_transfer.h"
#include "stopwatch.h"

namespace {

constexpr std::size_t kFew = 1000;
constexpr std::size_t kMany = 10000;
constexpr std::size_t kFolderFiles = 100;
constexpr std::size_t kFileSize = 100;
constexpr int kFewRepeats = 3;  // in each round: a short list is measured too quickly for one time to be steady

// Seconds of both sides. They take turns, file for file, so that other work on the machine slows them alike.
struct Costs {
    double bare = 0;
    double library = 0;
};

// @return cost of a file in the long list over that in the short one, both in bare files
double growthOf(const Costs& few, const Costs& many)
{
    return (many.library / many.bare) / (few.library / few.bare);
}

// A list of small files and its cache directory, which goes with it.
class SmallFiles {
public:
    SmallFiles(const std::wstring& work, std::size_t count)
        : mCount(count), mFolder(work), mTransfer(makeGuestFiles(count, kFileSize), mFolder.cacheDirectory())
    {
    }

    // Makes all files, and bare ones under the names that another list's would have. Both folders are emptied every now
    // and then: Wine searches a folder for each new name, and at 10,000 files that would hide what the library does.
    void deliver(const SmallFiles& bareNames, Costs& costs)
    {
        std::vector<unsigned char> bytes(kFileSize, 0x5A);
        mTransfer.request();
        for (std::size_t i = 0; i < mCount; ++i) {
            const std::wstring path = bareNames.mTransfer.slicePath(i, 0);
            costs.bare += timeOf([&] { writeBareFile(path, bytes, kFileSize); });
            costs.library += timeOf([&] { mTransfer.deliver(i, bytes.data(), bytes.size()); });
            if ((i + 1) % kFolderFiles == 0) {
                mFolder.clear();
                bareNames.mFolder.clear();
            }
        }
        mTransfer.checkFinished();
    }

    void deliver()
    {
        std::vector<unsigned char> bytes(kFileSize, 0x5A);
        mTransfer.request();
        for (std::size_t i = 0; i < mCount; ++i)
            mTransfer.deliver(i, bytes.data(), bytes.size());
        mTransfer.checkFinished();
    }

    // Reads all files on both sides, which are never on the same file: the second would find it in the caches.
    void read(Costs& costs) const
    {
        std::vector<unsigned char> buffer(65536);
        for (std::size_t i = 0; i < mCount; ++i) {
            const std::wstring path = mTransfer.slicePath((i + mCount / 2) % mCount, 0);
            std::uint64_t bareSize = 0;
            std::uint64_t size = 0;
            costs.bare += timeOf([&] { bareSize = readBareFile(path, buffer); });
            costs.library += timeOf([&] { size = readStream(i, buffer); });
            if (bareSize != kFileSize || size != kFileSize)
                throw std::runtime_error("bytes are missing");
        }
    }

private:
    // As an application pastes: asks for the file, and reads until no bytes come.
    std::uint64_t readStream(std::size_t index, std::vector<unsigned char>& buffer) const
    {
        const auto stream = mTransfer.open(index);
        std::uint64_t total = 0;
        ULONG count = 0;
        do {
            stream->Read(buffer.data(), static_cast<ULONG>(buffer.size()), &count);
            total += count;
        } while (count != 0);
        return total;
    }

    const std::size_t mCount;
    const BenchFolder mFolder;
    BenchTransfer mTransfer;
};

}  // namespace

BenchResult measureGrowthDeliver(const std::wstring& work)
{
    constexpr int kRounds = 3;
    const auto writeList = [&](std::size_t count, Costs& costs) {
        const SmallFiles bareNames(work, count);
        SmallFiles files(work, count);  // made last, so its directory counts
        files.deliver(bareNames, costs);
    };
    const Rounds ratios = runRounds(kRounds, [&] {
        Costs few;
        Costs many;
        for (int i = 0; i < kFewRepeats; ++i)
            writeList(kFew, few);
        writeList(kMany, many);
        return growthOf(few, many);
    });
    return {"growth_deliver", ratios, "ratio", 1.1, "lower"};
}

BenchResult measureGrowthRead(const std::wstring& work)
{
    constexpr int kRounds = 5;
    SmallFiles fewFiles(work, kFew);
    fewFiles.deliver();
    SmallFiles manyFiles(work, kMany);
    manyFiles.deliver();
    const Rounds ratios = runRounds(kRounds, [&] {
        Costs few;
        Costs many;
        for (int i = 0; i < kFewRepeats; ++i)
            fewFiles.read(few);
        manyFiles.read(many);
        return growthOf(few, many);
    });
    return {"growth_read", ratios, "ratio", 1.1, "lower"};
}
