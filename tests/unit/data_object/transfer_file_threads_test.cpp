// One thread writes a file while another reads it.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <random>
#include <string>
#include <thread>

#include "file_stream/transfer_file.h"
#include "sample_transfer.h"

namespace {

constexpr std::uint32_t kSeed = 20240917;

struct Sizes {
    std::uint32_t smallest;
    std::uint32_t largest;
    std::chrono::microseconds pause;  // after some of the pieces
};

class RandomPieces {
public:
    RandomPieces(std::uint32_t seed, const Sizes& sizes) : mNumbers(seed), mSizes(sizes) {}

    std::uint32_t next()
    {
        if (mSizes.pause.count() > 0 && mNumbers() % 4 == 0)
            std::this_thread::sleep_for(mSizes.pause);
        return std::uniform_int_distribution<std::uint32_t>(mSizes.smallest, mSizes.largest)(mNumbers);
    }

private:
    std::mt19937 mNumbers;
    Sizes mSizes;
};

// Reads as a pasting application does: no bytes are the end, fewer than asked for are not.
std::string readToTheEnd(SampleTransfer& transfer, RandomPieces pieces)
{
    std::string all;
    for (;;) {
        const ReadResult result = transfer.read(pieces.next());
        EXPECT_TRUE(result.ready);
        if (result.bytes.empty())
            return all;
        all += result.bytes;
    }
}

void writeAll(SampleTransfer& transfer, const std::string& bytes, RandomPieces pieces)
{
    for (std::size_t written = 0; written < bytes.size();) {
        const std::string piece = bytes.substr(written, pieces.next());
        transfer.deliver(piece);
        written += piece.size();
    }
}

// The file passes whole from one thread to the other, and a second pass gives it once more.
void expectIntact(std::size_t size, const Sizes& deliveries, const Sizes& chunks, std::uint32_t seed)
{
    SCOPED_TRACE("size " + std::to_string(size) + ", seed " + std::to_string(seed));
    const std::string bytes = makeBytes(size, seed);
    SampleTransfer transfer(static_cast<std::int64_t>(size));
    std::thread writer([&] { writeAll(transfer, bytes, RandomPieces(seed, deliveries)); });
    const std::string first = readToTheEnd(transfer, RandomPieces(seed + 1, chunks));
    writer.join();
    EXPECT_TRUE(first == bytes) << first.size() << " bytes came";
    const std::string second = readToTheEnd(transfer, RandomPieces(seed + 2, chunks));
    EXPECT_TRUE(second == bytes) << second.size() << " bytes came the second time";
}

constexpr std::chrono::microseconds kNoPause{0};

}  // namespace

TEST(TransferFileThreads, RandomDeliveriesAndChunksArriveIntact)
{
    std::uint32_t seed = kSeed;
    for (const std::uint32_t largestDelivery : {30000, 400000}) {
        for (const std::uint32_t largestChunk : {100000, 2000000}) {
            expectIntact(4 * kMebibyte + seed % 1000, {1, largestDelivery, kNoPause}, {1, largestChunk, kNoPause},
                         seed);
            ++seed;
        }
    }
}

TEST(TransferFileThreads, AFastReaderOvertakesTheWriterAgainAndAgain)
{
    expectIntact(6 * kMebibyte + 1, {100000, 300000, std::chrono::milliseconds(15)}, {kMebibyte, kMebibyte, kNoPause},
                 kSeed);
}

TEST(TransferFileThreads, AFastWriterIsFarAhead)
{
    expectIntact(6 * kMebibyte - 1, {1000000, 3000000, kNoPause}, {50000, 300000, std::chrono::milliseconds(1)}, kSeed);
}

TEST(TransferFileThreads, SizesAboutASliceArriveIntact)
{
    for (const std::size_t size : {kMebibyte - 1, kMebibyte, kMebibyte + 1}) {
        expectIntact(size, {65536, 65536, kNoPause}, {4096, 4096, kNoPause}, kSeed);
        expectIntact(size, {kMebibyte, kMebibyte, kNoPause}, {kMebibyte, kMebibyte, kNoPause}, kSeed);
    }
}

TEST(TransferFileThreads, SingleBytesArriveIntact)
{
    expectIntact(3000, {1, 1, kNoPause}, {1, 1, kNoPause}, kSeed);
}

// With a signal lost between the reader's look and its sleep, the last slice of a file would cost 30 seconds.
TEST(TransferFileThreads, NoSignalIsLost)
{
    const auto begun = std::chrono::steady_clock::now();
    for (int round = 0; round < 300; ++round) {
        SampleTransfer transfer(2);
        std::thread writer([&] {
            transfer.addSlice("a");
            transfer.addSlice("b");
        });
        const std::string all = readToTheEnd(transfer, RandomPieces(kSeed, {10, 10, kNoPause}));
        writer.join();
        ASSERT_EQ(all, "ab");
    }
    EXPECT_LT(std::chrono::steady_clock::now() - begun, std::chrono::seconds(29));
}

// What an older list was just writing stands before the newer list empties the slice, and nothing comes afterwards.
TEST(TransferFileThreads, ANewerListOfOneNameGetsNoBytesOfAnOlderOne)
{
    const SliceFolder folder;
    const std::string path = sd::clip::MakeSlicePath(folder.directory(), "key", 0);
    for (int round = 0; round < 200; ++round) {
        sd::clip::TransferFile older("key", 1000000);
        sd::clip::TransferFile newer("key", 4);
        std::atomic<bool> writes{false};
        std::thread writer([&] {
            const std::string bytes(1000, 'o');
            while (!older.HasLostSlices()) {
                older.OpenSlice(path);
                older.Write(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
                older.AbandonSlice();  // so that each round opens it, which would empty the newer list's
                writes = true;
            }
        });
        while (!writes)
            std::this_thread::yield();
        newer.OpenSlice(path);
        newer.Write(reinterpret_cast<const unsigned char*>("new."), 4);
        writer.join();
        newer.CloseSlice(path);
        ASSERT_EQ(readWholeFile(path), "new.") << round;
    }
}

TEST(TransferFileThreads, AnOlderListThatLosesTheNameOnTheWayDoesNotEmptyTheSlice)
{
    const SliceFolder folder;
    const std::string path = sd::clip::MakeSlicePath(folder.directory(), "key", 0);
    sd::clip::TransferFile oldest("key", 1);
    sd::clip::TransferFile older("key", 1);
    sd::clip::TransferFile newer("key", 4);
    oldest.OpenSlice(path);
    oldest.AbandonSlice();
    std::thread opener;
    std::thread taker;
    {
        const sd::clip::LockScope held(sd::clip::TestAccess::writingMutex(older));
        opener = std::thread([&] { EXPECT_FALSE(older.OpenSlice(path)); });
        while (!oldest.HasLostSlices())  // until the older list has the name, and waits to open the slice
            std::this_thread::yield();
        taker = std::thread([&] {
            newer.OpenSlice(path);
            newer.Write(reinterpret_cast<const unsigned char*>("new."), 4);
        });
        while (!older.HasLostSlices())
            std::this_thread::yield();
    }
    opener.join();
    taker.join();
    EXPECT_EQ(readWholeFile(path), "new.");
}
