// Reading a file whose slices are there: results, the end of a slice and of the file, file after file.
#include <gtest/gtest.h>

#include <filesystem>

#include "base/unix_clock.h"
#include "file_stream/read_heartbeat.h"
#include "sample_stream.h"
#include "support/recording_log.h"

using namespace sd::clip;

namespace {

using Messages = std::vector<std::string>;

class FileStreamRead : public testing::Test, protected SampleReading {};

}  // namespace

// ---- Results ----

TEST_F(FileStreamRead, ANullIsRefusedAndNothingChanges)
{
    setUpFile(5, 5);
    gLastReadTime = 17;
    gReadState = ReadState::kNeverRead;
    char buffer[5];
    ULONG count = 99;
    EXPECT_EQ(stream->Read(nullptr, 5, &count), STG_E_INVALIDPOINTER);
    EXPECT_EQ(stream->Read(buffer, 5, nullptr), STG_E_INVALIDPOINTER);
    EXPECT_EQ(stream->Read(nullptr, 0, nullptr), STG_E_INVALIDPOINTER);
    EXPECT_EQ(count, 99u);
    EXPECT_EQ(gLastReadTime, 17);
    EXPECT_EQ(gReadState, ReadState::kNeverRead);
    EXPECT_EQ(transfer->lookUps, 0);
}

TEST_F(FileStreamRead, ACancelledStreamIsRevertedAndTheHeartbeatStays)
{
    setUpFile(5, 5);
    stream->Cancel();
    gLastReadTime = 17;
    gReadState = ReadState::kNeverRead;
    const ReadResult found = read(5);
    EXPECT_EQ(found.result, STG_E_REVERTED);
    EXPECT_EQ(found.count, 0u);
    EXPECT_EQ(gLastReadTime, 17);
    EXPECT_EQ(gReadState, ReadState::kNeverRead);
    EXPECT_EQ(transfer->lookUps, 0);
}

TEST_F(FileStreamRead, ANullIsRefusedBeforeACancelledStreamIsReverted)
{
    setUpFile(5, 5);
    stream->Cancel();
    ULONG count = 0;
    EXPECT_EQ(stream->Read(nullptr, 5, &count), STG_E_INVALIDPOINTER);
}

TEST_F(FileStreamRead, SlicesOfAMebibyteReadByTheMebibyteAreAllWhole)
{
    setUpFile(3 * kMebibyte, kMebibyte);
    for (std::size_t i = 0; i < 3; ++i)
        expectRead(kMebibyte, S_OK, contents.substr(i * kMebibyte, kMebibyte));
    expectRead(kMebibyte, S_FALSE, "");
}

TEST_F(FileStreamRead, AReadEndsWithItsSlice)
{
    setUpFile(3 * kMebibyte, kMebibyte);
    expectRead(700000, S_OK, contents.substr(0, 700000));
    expectRead(700000, S_FALSE, contents.substr(700000, 348576));
    expectRead(700000, S_OK, contents.substr(kMebibyte, 700000));
}

TEST_F(FileStreamRead, ReadingUntilNoBytesComeGivesTheFile)
{
    setUpFile(2 * kMebibyte + 1, kMebibyte);
    EXPECT_TRUE(readToEnd(700000) == contents);
    EXPECT_FALSE(RecordingLog::hasLine(5, "Wait transfer file:"));
}

TEST_F(FileStreamRead, NoBytesAskedForAreNoBytesGiven)
{
    setUpFile(5, 5);
    expectRead(0, S_OK, "");
    expectRead(0, S_OK, "");
    expectRead(5, S_OK, contents);
}

TEST_F(FileStreamRead, AfterTheEndTheFileBeginsAgain)
{
    setUpFile(5, 3);
    EXPECT_EQ(readToEnd(3), contents);
    RecordingLog::clear();
    expectRead(2, S_OK, contents.substr(0, 2));
    EXPECT_TRUE(RecordingLog::hasLine(5, "Start Read(0):" + slices[0] + " isOpen:1"));
    expectRead(3, S_FALSE, contents.substr(2, 1));
    expectRead(3, S_FALSE, contents.substr(3));
    expectRead(3, S_FALSE, "");
}

TEST_F(FileStreamRead, AnEmptyFileEndsAtOnce)
{
    description = makeDescription("a.bin", 0);
    transfer->addSlice(*description, "");
    stream = makeStream(description, transfer);
    RecordingLog::clear();
    expectRead(10, S_FALSE, "");
    EXPECT_EQ(RecordingLog::messages(5), (Messages{"Copy foldera.bin end.", "foldera.bin copied finish."}));
    EXPECT_EQ(RecordingLog::messages(6), Messages{"(0 < 10) copyed size:0, filesize:0"});
}

TEST_F(FileStreamRead, TheReadThatTakesTheLastByteSaysSo)
{
    setUpFile(5, 5);
    expectRead(4, S_OK, contents.substr(0, 4));
    EXPECT_FALSE(RecordingLog::hasLine(5, "foldera.bin copied finish."));
    RecordingLog::clear();
    expectRead(4, S_FALSE, contents.substr(4));
    EXPECT_EQ(RecordingLog::count(5, "foldera.bin copied finish."), 1);
    EXPECT_EQ(RecordingLog::messages(6), Messages{"(1 < 4) copyed size:5, filesize:5"});
    RecordingLog::clear();
    expectRead(4, S_FALSE, "");
    EXPECT_EQ(RecordingLog::messages(5), Messages{"Copy foldera.bin end."});
    EXPECT_EQ(RecordingLog::messages(6), Messages{"(0 < 4) copyed size:0, filesize:5"});
}

TEST_F(FileStreamRead, AWholeReadLogsNoError)
{
    setUpFile(5, 5);
    expectRead(5, S_OK, contents);
    EXPECT_EQ(RecordingLog::messages(6), Messages{});
}

TEST_F(FileStreamRead, AMissingSliceIsAHole)
{
    setUpFile(6, 2);
    std::filesystem::remove(std::filesystem::u8path(slices[1]));
    expectRead(2, S_OK, contents.substr(0, 2));
    RecordingLog::clear();
    expectRead(2, S_FALSE, "");
    EXPECT_TRUE(RecordingLog::hasLine(5, "Start Read(1):" + slices[1] + " isOpen:0"));
    EXPECT_EQ(RecordingLog::messages(6), Messages{"(0 < 2) copyed size:2, filesize:6"});
    expectRead(2, S_OK, contents.substr(4));
    EXPECT_EQ(transfer->cancels, 0);
}

// ---- File after file ----

TEST_F(FileStreamRead, EachReadLooksItsRecordUpAnew)
{
    setUpFile(5, 5);
    read(2);
    EXPECT_EQ(transfer->lookUps, 1);
    read(2);
    EXPECT_EQ(transfer->lookUps, 2);
}

TEST_F(FileStreamRead, OneStreamServesFileAfterFile)
{
    setUpFile(5, 5);
    const auto next = makeDescription("b.bin", 4);
    transfer->addSlice(*next, "next");
    EXPECT_EQ(readToEnd(3), contents);
    EXPECT_TRUE(stream->SetFile(next, nullptr, nullptr, kFileModeTransfer));
    EXPECT_EQ(readToEnd(3), "next");
}

TEST_F(FileStreamRead, AFileAskedForAgainInTheMiddleBeginsWithItsFirstByte)
{
    setUpFile(6, 3);
    expectRead(3, S_OK, contents.substr(0, 3));
    expectRead(1, S_OK, contents.substr(3, 1));
    EXPECT_TRUE(stream->SetFile(description, nullptr, nullptr, kFileModeTransfer));
    EXPECT_EQ(readToEnd(4), contents);
    expectRead(2, S_OK, contents.substr(0, 2));
    EXPECT_TRUE(stream->SetFile(description, transfer, kFileModeTransfer));
    EXPECT_EQ(readToEnd(4), contents);
}

TEST_F(FileStreamRead, AnApplicationThatReadsExactlyTheSizeGetsTheFileASecondTime)
{
    setUpFile(6, 6);
    expectRead(6, S_OK, contents);
    EXPECT_TRUE(stream->SetFile(description, nullptr, nullptr, kFileModeTransfer));
    expectRead(6, S_OK, contents);
}

TEST_F(FileStreamRead, ANewStreamBeginsAHalfReadFileWithItsFirstByte)
{
    setUpFile(6, 3);
    expectRead(4, S_FALSE, contents.substr(0, 3));
    stream = makeStream(description, transfer);
    EXPECT_EQ(readToEnd(4), contents);
}

TEST_F(FileStreamRead, TheStreamKeepsTheRecordsThatItReads)
{
    setUpFile(5, 5);
    expectRead(2, S_OK, contents.substr(0, 2));
    transfer.reset();
    expectRead(3, S_OK, contents.substr(2));
}

// ---- The heartbeat ----

TEST_F(FileStreamRead, TheHeartbeatTellsThatAReadIsUnderWay)
{
    setUpFile(5, 5);
    gReadState = ReadState::kNeverRead;
    gLastReadTime = 17;
    const std::int64_t before = unixNow();
    transfer->duringLookUp = [&] {
        EXPECT_EQ(gReadState, ReadState::kInRead);
        EXPECT_GE(gLastReadTime, before);
        gLastReadTime = 17;
        EXPECT_FALSE(IsClipboardReadStalled());
    };
    read(2);
    EXPECT_EQ(gReadState, ReadState::kBetweenReads);
    EXPECT_GE(gLastReadTime, before) << "refreshed at the end too";
}
