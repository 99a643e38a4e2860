// What a stream still gives, and what it keeps open, when its transfer has ended or its slices are another list's.
#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "file_stream/read_heartbeat.h"
#include "sample_stream.h"
#include "support/import_hook.h"
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
        std::thread([&] { stream->Disconnect(); }).join();
        EXPECT_TRUE(DeleteFileA(slices[1].c_str()));
    };
    const ReadResult found = read(5);
    EXPECT_EQ(found.result, STG_E_REVERTED);
    EXPECT_EQ(found.count, 0u);
}

// It has passed the first look, and the end closes the slice that it was in the middle of.
TEST_F(FileStreamEnd, AReadThatWaitedForTheLockMeanwhileIsReverted)
{
    setUpFile(10, 5);
    expectRead(2, S_OK, contents.substr(0, 2));
    gReadState = ReadState::kBetweenReads;
    ReadResult found;
    std::thread reader;
    std::thread end;
    {
        const LockScope held(TestAccess::mutex(*stream.Get()));
        reader = std::thread([&] { found = read(5); });
        while (gReadState != ReadState::kInRead)
            std::this_thread::yield();
        end = std::thread([&] { stream->Disconnect(); });
        std::this_thread::sleep_for(std::chrono::milliseconds(50));  // until both want the lock
    }
    reader.join();
    end.join();
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

// ---- A newer list has a file of the same name ----

TEST_F(FileStreamEnd, AFileWhoseSlicesANewerListWritesIsReverted)
{
    setUpFile(10, 5);
    expectRead(2, S_OK, contents.substr(0, 2));
    TransferFile newer("folder\\a.bin", 3);
    EXPECT_TRUE(newer.OpenSlice(slices[0]));
    const ReadResult found = read(5);
    EXPECT_EQ(found.result, STG_E_REVERTED);
    EXPECT_EQ(found.count, 0u);
    EXPECT_EQ(gReadState, ReadState::kBetweenReads);
    EXPECT_EQ(RecordingLog::count(6, "A newer list has taken the slices of foldera.bin"), 1);
    EXPECT_TRUE(stream->SetFile(description, nullptr, nullptr, kFileModeTransfer));
    EXPECT_EQ(read(5).result, STG_E_REVERTED);
}

TEST_F(FileStreamEnd, AFileThatIsANewerListsIsNotWaitedFor)
{
    description = makeDescription("a.bin", 10);
    const std::string slice = transfer->addSlice(*description, "first");
    stream = makeStream(description, transfer);
    expectRead(5, S_OK, "first");
    TransferFile newer("folder\\a.bin", 3);
    EXPECT_TRUE(newer.OpenSlice(slice));
    RecordingLog::clear();
    EXPECT_EQ(read(5).result, STG_E_REVERTED);
    EXPECT_FALSE(RecordingLog::hasLine(5, "Wait slice file.."));
}

TEST_F(FileStreamEnd, AnotherFileOfThatListIsReadOn)
{
    setUpFile(10, 5);
    const auto other = makeDescription("b.bin", 3);
    transfer->addSlice(*other, "abc");
    TransferFile newer("folder\\a.bin", 3);
    EXPECT_TRUE(newer.OpenSlice(slices[0]));
    EXPECT_TRUE(stream->SetFile(other, nullptr, nullptr, kFileModeTransfer));
    expectRead(3, S_OK, "abc");
}

namespace {

TransferFile* gNewer = nullptr;
std::string gNewerSlice;
decltype(&_read) gRealRead = nullptr;

// The newer list writes its slice before the older one's bytes are read from there.
int __cdecl readAfterTheNewerList(int file, void* buffer, unsigned int size)
{
    if (!gNewer->HasLostSlices() && gNewer->ReadySize() == 0) {
        EXPECT_TRUE(gNewer->OpenSlice(gNewerSlice));
        gNewer->Write(reinterpret_cast<const unsigned char*>("newer"), 5);
    }
    return gRealRead(file, buffer, size);
}

}  // namespace

TEST_F(FileStreamEnd, ANewerListThatComesInTheMiddleOfAReadRevertsIt)
{
    setUpFile(10, 5);
    TransferFile newer("folder\\a.bin", 5);
    gNewer = &newer;
    gNewerSlice = slices[0];
    const ImportHook<decltype(&_read)> hook(nullptr, "_read", &readAfterTheNewerList);
    gRealRead = hook.real();
    const ReadResult found = read(5);
    EXPECT_EQ(newer.ReadySize(), 5);
    EXPECT_EQ(found.result, STG_E_REVERTED);
    EXPECT_EQ(found.count, 0u);
}
