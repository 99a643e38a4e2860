// The reader's half of a TransferFile.
#include "file_stream/transfer_file.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include "sample_transfer.h"
#include "support/recording_log.h"

using sd::clip::TestAccess;

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

// Three slices of one mebibyte, all finished.
struct ThreeSlices : SampleTransfer {
    ThreeSlices() : SampleTransfer(3 * kMebibyte), bytes(makeBytes(3 * kMebibyte))
    {
        for (std::size_t i = 0; i < 3; ++i)
            deliver(bytes.substr(i * kMebibyte, kMebibyte));
    }
    const std::string bytes;
};

// Slices of these bytes, all finished.
struct SlicedTransfer : SampleTransfer {
    SlicedTransfer(std::int64_t fileSize, const std::vector<std::string>& slices) : SampleTransfer(fileSize)
    {
        for (const std::string& bytes : slices)
            addSlice(bytes);
    }
};

void expectBytes(const ReadResult& result, const std::string& expected)
{
    EXPECT_TRUE(result.ready);
    EXPECT_EQ(result.bytes.size(), expected.size());
    EXPECT_TRUE(result.bytes == expected) << "other bytes";  // not printed: there may be millions
}

void expectReadEnds(std::future<ReadResult>& reading, const std::string& expected)
{
    ASSERT_EQ(reading.wait_for(seconds(30)), std::future_status::ready);
    expectBytes(reading.get(), expected);
}

std::string printLine(const char* text, const std::string& argument, const char* end = "")
{
    return text + argument + end;
}

// A Read on a thread of its own, seen to wait.
std::future<ReadResult> readWaiting(SampleTransfer& transfer, std::uint32_t length)
{
    RecordingLog::clear();
    auto result = std::async(std::launch::async, [&transfer, length] { return transfer.read(length); });
    EXPECT_TRUE(RecordingLog::waitForLine(5, printLine("Wait slice file.. this=", printAddress(&transfer.file))));
    EXPECT_EQ(result.wait_for(milliseconds(100)), std::future_status::timeout);
    return result;
}

}  // namespace

TEST(TransferFile, ChunksOfASliceEachGiveAWholeSlice)
{
    ThreeSlices transfer;
    for (std::size_t i = 0; i < 3; ++i) {
        expectBytes(transfer.read(kMebibyte), transfer.bytes.substr(i * kMebibyte, kMebibyte));
        EXPECT_EQ(TestAccess::sliceReader(transfer.file), nullptr) << "the slice closes with its last byte";
        EXPECT_EQ(TestAccess::readSliceIndex(transfer.file), static_cast<std::int32_t>(i + 1));
        EXPECT_EQ(transfer.file.CopiedSize(), static_cast<std::int64_t>((i + 1) * kMebibyte));
        EXPECT_EQ(TestAccess::currentSlice(transfer.file), TestAccess::slices(transfer.file)[i]);
    }
    expectBytes(transfer.read(kMebibyte), "");
}

TEST(TransferFile, AReadNeverSpansTwoSlices)
{
    ThreeSlices transfer;
    std::string all;
    for (int slice = 0; slice < 3; ++slice) {
        for (const std::size_t expected : {700000, 348576}) {
            const ReadResult result = transfer.read(700000);
            expectBytes(result, transfer.bytes.substr(all.size(), expected));
            all += result.bytes;
        }
    }
    EXPECT_EQ(all.size(), transfer.bytes.size());
    expectBytes(transfer.read(700000), "");
}

TEST(TransferFile, ASliceStaysOpenWhileItHasMore)
{
    ThreeSlices transfer;
    transfer.read(kMebibyte - 1);
    ASSERT_NE(TestAccess::sliceReader(transfer.file), nullptr);
    EXPECT_TRUE(TestAccess::sliceReader(transfer.file)->is_open());
    expectBytes(transfer.read(1), transfer.bytes.substr(kMebibyte - 1, 1));
    EXPECT_EQ(TestAccess::sliceReader(transfer.file), nullptr);
}

TEST(TransferFile, AChunkBeyondASliceGivesTheWholeSlice)
{
    SampleTransfer transfer(5000000);
    const std::string bytes = makeBytes(5000000);
    transfer.deliver(bytes);
    expectBytes(transfer.read(8388608), bytes);
    expectBytes(transfer.read(8388608), "");
}

// The runtime below the stream refuses 2 GiB and more; some runtimes also touch the whole buffer that they are given.
TEST(TransferFile, AChunkMayBeLongerThanThePlatformReadsAtOnce)
{
    SampleTransfer transfer(5);
    transfer.deliver("bytes");
    std::string buffer(16 * kMebibyte, '-');
    std::uint32_t count = 0;
    EXPECT_TRUE(transfer.file.Read(buffer.data(), 0xFFFFFFFF, &count));
    EXPECT_EQ(count, 5u);
    EXPECT_EQ(buffer.substr(0, 6), "bytes-");
}

TEST(TransferFile, ALongSliceIsWrittenAndReadWhole)
{
    const std::string bytes = makeBytes(33 * kMebibyte + 1);
    SampleTransfer transfer(static_cast<std::int64_t>(bytes.size()));
    transfer.deliver(bytes);
    EXPECT_EQ(transfer.file.SliceCount(), 1);
    EXPECT_EQ(transfer.file.ReadySize(), transfer.file.FileSize());
    expectBytes(transfer.read(40 * kMebibyte), bytes);
    EXPECT_EQ(TestAccess::sliceReader(transfer.file), nullptr);
}

TEST(TransferFile, AfterTheEndTheFileBeginsAgain)
{
    ThreeSlices transfer;
    for (int i = 0; i < 3; ++i)
        transfer.read(kMebibyte);
    expectBytes(transfer.read(kMebibyte), "");
    EXPECT_EQ(transfer.file.CopiedSize(), 0);
    EXPECT_EQ(TestAccess::readSliceIndex(transfer.file), 0);
    expectBytes(transfer.read(kMebibyte), transfer.bytes.substr(0, kMebibyte));
    expectBytes(transfer.read(kMebibyte), transfer.bytes.substr(kMebibyte, kMebibyte));
}

TEST(TransferFile, ReadingLogsEachStep)
{
    SlicedTransfer transfer(9, {"first", "last"});
    RecordingLog::clear();
    transfer.read(3);
    const std::string reader = printAddress(TestAccess::sliceReader(transfer.file).get());
    transfer.read(3);
    const auto lines = RecordingLog::messages();
    const std::string first = TestAccess::slices(transfer.file)[0];
    EXPECT_EQ(lines,
              (std::vector<std::string>{"Create new ifstream:" + reader, "Start Read(0):" + first + " isOpen:1",
                                        "Read file (" + first + ") finish. Close and delete ifstream:" + reader}));
    RecordingLog::clear();
    transfer.read(9);
    EXPECT_EQ(RecordingLog::count(5, "Start Read(1):" + TestAccess::slices(transfer.file)[1] + " isOpen:1"), 1);
    RecordingLog::clear();
    transfer.read(9);
    EXPECT_EQ(RecordingLog::messages(), std::vector<std::string>{"Copy folder\\file.bin end."});
    EXPECT_EQ(RecordingLog::messages(), RecordingLog::messages(5));
}

TEST(TransferFile, AnEmptyFileIsAtItsEndFromTheStart)
{
    SampleTransfer transfer(0);
    transfer.deliver("");
    for (int i = 0; i < 2; ++i) {
        RecordingLog::clear();
        expectBytes(transfer.read(100), "");
        EXPECT_EQ(RecordingLog::messages(), std::vector<std::string>{"Copy folder\\file.bin end."});
    }
}

TEST(TransferFile, AnEmptyReaderAtTheEndIsGivenUpAndKeepsTheSum)
{
    SampleTransfer transfer(4);
    transfer.deliver("data");
    TestAccess::sliceReader(transfer.file) = std::make_unique<std::ifstream>();
    TestAccess::copiedSize(transfer.file) = 5;
    TestAccess::readSliceIndex(transfer.file) = 1;
    expectBytes(transfer.read(100), "");
    EXPECT_EQ(RecordingLog::messages(), std::vector<std::string>{"Copy end. copyed size:5, filesize:4"});
    EXPECT_EQ(TestAccess::sliceReader(transfer.file), nullptr);
    EXPECT_EQ(TestAccess::readSliceIndex(transfer.file), 0);
    EXPECT_EQ(transfer.file.CopiedSize(), 5);
    expectBytes(transfer.read(100), "");
    EXPECT_EQ(RecordingLog::count(5, "Copy folder\\file.bin end."), 1);
    EXPECT_EQ(transfer.file.CopiedSize(), 0);
    expectBytes(transfer.read(100), "data");
}

TEST(TransferFile, AReadOfNoBytesOpensTheSliceAndMovesNothing)
{
    SampleTransfer transfer(4);
    transfer.deliver("data");
    expectBytes(transfer.read(0), "");
    ASSERT_NE(TestAccess::sliceReader(transfer.file), nullptr);
    EXPECT_TRUE(TestAccess::sliceReader(transfer.file)->is_open());
    EXPECT_EQ(transfer.file.CopiedSize(), 0);
    expectBytes(transfer.read(2), "da");
    expectBytes(transfer.read(0), "");
    EXPECT_EQ(transfer.file.CopiedSize(), 2);
    expectBytes(transfer.read(2), "ta");
}

TEST(TransferFile, WhatIsDeliveredBeyondTheSizeIsReadToTheEndOfItsSlice)
{
    SlicedTransfer transfer(4, {"abc", "defgh", "ijk"});
    expectBytes(transfer.read(100), "abc");
    expectBytes(transfer.read(3), "def");  // beyond the size now, but the slice has more
    expectBytes(transfer.read(100), "gh");
    expectBytes(transfer.read(100), "");
    EXPECT_EQ(transfer.file.CopiedSize(), 0);
}

TEST(TransferFile, AMissingSliceGivesAHoleAndThenAWait)
{
    SlicedTransfer transfer(9, {"one", "two", "six"});
    std::filesystem::remove(TestAccess::slices(transfer.file)[1]);
    expectBytes(transfer.read(100), "one");
    RecordingLog::clear();
    expectBytes(transfer.read(100), "");
    EXPECT_TRUE(RecordingLog::hasLine(5, "Start Read(1):" + TestAccess::slices(transfer.file)[1] + " isOpen:0"));
    EXPECT_TRUE(
        RecordingLog::hasLine(5, "Read file (" + TestAccess::slices(transfer.file)[1] + ") finish. Close and delete"));
    EXPECT_EQ(TestAccess::sliceReader(transfer.file), nullptr);
    EXPECT_EQ(TestAccess::readSliceIndex(transfer.file), 2);
    expectBytes(transfer.read(100), "six");
    EXPECT_EQ(transfer.file.CopiedSize(), 6);

    auto waiting = readWaiting(transfer, 100);
    transfer.addSlice("end");
    expectReadEnds(waiting, "end");
}

TEST(TransferFile, AMissingSliceIsPassedByAReadOfNoBytesToo)
{
    SlicedTransfer transfer(6, {"one", "two"});
    std::filesystem::remove(TestAccess::slices(transfer.file)[0]);
    expectBytes(transfer.read(0), "");
    EXPECT_EQ(TestAccess::readSliceIndex(transfer.file), 1);
    expectBytes(transfer.read(100), "two");
}

TEST(TransferFile, AShortSliceLeavesTheSumShort)
{
    SlicedTransfer transfer(6, {"one", "two"});
    std::filesystem::resize_file(TestAccess::slices(transfer.file)[0], 1);
    expectBytes(transfer.read(3), "o");
    expectBytes(transfer.read(3), "two");
    EXPECT_EQ(transfer.file.CopiedSize(), 4);
}

// Somebody cut it, or the disk was full: no read of no bytes stands for it, which would look like the file's end.
TEST(TransferFile, ASliceThatEndsBeforeWhatWasWrittenIsPassed)
{
    SlicedTransfer transfer(9, {"onetwo", "end"});
    std::filesystem::resize_file(TestAccess::slices(transfer.file)[0], 3);
    expectBytes(transfer.read(3), "one");
    expectBytes(transfer.read(3), "end");
    EXPECT_EQ(transfer.file.CopiedSize(), 6);
}

TEST(TransferFile, ASliceThatIsLongerThanWhatWasWrittenIsReadToItsEnd)
{
    SlicedTransfer transfer(9, {"one", "end"});
    std::ofstream(TestAccess::slices(transfer.file)[0], std::ios::binary | std::ios::app) << "two";
    expectBytes(transfer.read(3), "one");
    expectBytes(transfer.read(3), "two");
    expectBytes(transfer.read(3), "end");
}

TEST(TransferFile, PiecesOfEverySizeGiveTheSameBytes)
{
    ThreeSlices transfer;
    for (const std::uint32_t piece : {509u, 4096u, 32767u, 32768u, 32769u, 40000u, 65536u, 1000000u}) {
        std::string all;
        for (ReadResult result = transfer.read(piece); !result.bytes.empty(); result = transfer.read(piece))
            all += result.bytes;
        EXPECT_TRUE(all == transfer.bytes) << piece;
    }
}

TEST(TransferFile, AReadOfAnotherSizeGoesOnWhereTheLastOneEnded)
{
    ThreeSlices transfer;
    std::string all;
    for (const std::uint32_t piece : {100u, 65536u, 4096u, 40000u, 1u, 32768u, 200000u, 4096u})
        all += transfer.read(piece).bytes;
    EXPECT_TRUE(all == transfer.bytes.substr(0, 100 + 65536 + 4096 + 40000 + 1 + 32768 + 200000 + 4096));
}

TEST(TransferFile, AReaderBeforeTheFirstSliceWaitsForIt)
{
    SampleTransfer transfer(8);
    auto waiting = readWaiting(transfer, 4);
    transfer.write("open");
    EXPECT_EQ(waiting.wait_for(milliseconds(100)), std::future_status::timeout) << "the open slice is not touched";
    transfer.write("done");
    transfer.finishSlice();
    expectReadEnds(waiting, "open");
}

TEST(TransferFile, AReaderThatOvertakesTheWriterWaitsForTheNextSlice)
{
    SlicedTransfer transfer(6, {"one"});
    expectBytes(transfer.read(100), "one");
    auto waiting = readWaiting(transfer, 100);
    transfer.addSlice("two");
    expectReadEnds(waiting, "two");
}

TEST(TransferFile, ASignalWithoutASliceDoesNotEndTheWait)
{
    SampleTransfer transfer(6);
    auto waiting = readWaiting(transfer, 100);
    for (int i = 0; i < 10; ++i) {
        transfer.file.NotifySliceReady();
        ASSERT_EQ(waiting.wait_for(milliseconds(20)), std::future_status::timeout);
    }
    transfer.addSlice("one");
    expectReadEnds(waiting, "one");
}

TEST(TransferFile, ASliceThatIsReadyIsNotWaitedFor)
{
    SlicedTransfer transfer(6, {"one"});
    EXPECT_TRUE(transfer.file.WaitSliceReady());
    RecordingLog::clear();
    expectBytes(transfer.read(100), "one");
    EXPECT_FALSE(RecordingLog::hasLine(5, "Wait slice file.."));
}

TEST(TransferFile, ARestartAfterHalfASliceBeginsAtTheFirstByte)
{
    ThreeSlices transfer;
    transfer.read(kMebibyte);
    transfer.read(700000);
    transfer.file.Restart();
    EXPECT_EQ(TestAccess::sliceReader(transfer.file), nullptr);
    EXPECT_EQ(transfer.file.CopiedSize(), 0);
    EXPECT_EQ(TestAccess::readSliceIndex(transfer.file), 0);
    for (std::size_t i = 0; i < 3; ++i)
        expectBytes(transfer.read(kMebibyte), transfer.bytes.substr(i * kMebibyte, kMebibyte));
    expectBytes(transfer.read(kMebibyte), "");
}

TEST(TransferFile, ARestartAfterExactlyTheSizeBeginsAtTheFirstByte)
{
    SampleTransfer transfer(4);
    transfer.deliver("data");
    for (int i = 0; i < 2; ++i) {
        expectBytes(transfer.read(4), "data");
        transfer.file.Restart();
    }
}

TEST(TransferFile, ARestartBeforeTheFirstReadChangesNothing)
{
    SampleTransfer transfer(4);
    transfer.file.Restart();
    transfer.deliver("data");
    expectBytes(transfer.read(100), "data");
}

TEST(TransferFile, TheReaderReadsASliceThatOthersWriteAgain)
{
    SampleTransfer transfer(4);
    transfer.deliver("data");
    expectBytes(transfer.read(2), "da");
    std::fstream other(TestAccess::slices(transfer.file)[0], std::ios::binary | std::ios::in | std::ios::out);
    EXPECT_TRUE(other.is_open());
}
