// What a stream still gives, and what it keeps open, when its transfer has ended or its slices are another list's.
#include <gtest/gtest.h>

#include "file_stream/read_heartbeat.h"
#include "sample_stream.h"
#include "support/recording_log.h"

using namespace sd::clip;

namespace {

class FileStreamEnd : public testing::Test, protected SampleReading {};

}  // namespace

// ---- The transfer has ended ----

TEST_F(FileStreamEnd, TheDataObjectsDeathClosesTheSliceThatIsBeingRead)
{
    setUpFile(5, 5);
    expectRead(2, S_OK, contents.substr(0, 2));
    EXPECT_FALSE(DeleteFileA(slices[0].c_str()));
    stream->Disconnect();
    EXPECT_TRUE(DeleteFileA(slices[0].c_str()));
}

TEST_F(FileStreamEnd, ACancelClosesTheSliceThatIsBeingRead)
{
    setUpFile(5, 5);
    expectRead(2, S_OK, contents.substr(0, 2));
    stream->Cancel();
    EXPECT_TRUE(DeleteFileA(slices[0].c_str()));
}

TEST_F(FileStreamEnd, TheNextFileClosesTheSliceOfTheOneBefore)
{
    setUpFile(5, 5);
    expectRead(2, S_OK, contents.substr(0, 2));
    EXPECT_TRUE(stream->SetFile(makeDescription("b.bin", 1), nullptr, nullptr, kFileModeTransfer));
    EXPECT_TRUE(DeleteFileA(slices[0].c_str()));
}

// Somebody cleans the cache when the object is gone, and so after the read has begun.
TEST_F(FileStreamEnd, ASliceThatWentWithTheDataObjectIsNoEndOfTheFile)
{
    setUpFile(10, 5);
    expectRead(5, S_OK, contents.substr(0, 5));
    transfer->duringLookUp = [&] {
        stream->Disconnect();
        EXPECT_TRUE(DeleteFileA(slices[1].c_str()));
    };
    const ReadResult found = read(5);
    EXPECT_EQ(found.result, STG_E_REVERTED);
    EXPECT_EQ(found.count, 0u);
}

TEST_F(FileStreamEnd, ARunningReadClosesItsSliceWhenTheDataObjectDies)
{
    setUpFile(5, 5);
    transfer->duringLookUp = [&] { stream->Disconnect(); };
    expectRead(2, S_OK, contents.substr(0, 2));
    EXPECT_TRUE(DeleteFileA(slices[0].c_str()));
}
