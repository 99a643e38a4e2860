// The wait of a Read for the record of its file, in pauses that take no time here, and what comes in the middle of a
// Read: failures, calls on its own thread, calls on another.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <new>
#include <stdexcept>
#include <thread>

#include "base/unix_clock.h"
#include "file_stream/read_heartbeat.h"
#include "sample_stream.h"
#include "support/import_hook.h"
#include "support/recording_log.h"

using namespace sd::clip;

namespace {

using Messages = std::vector<std::string>;

// The pauses of a wait for a record take no time on the reader's thread. Other sleeps, those of the runtime's locks
// among them, are real.
constexpr DWORD kRecordPause = 500;
struct Pauses {
    std::thread::id reader;
    std::vector<DWORD> milliseconds;
    std::function<void()> duringPause;
    decltype(&Sleep) realSleep = &Sleep;
} gPauses;

VOID WINAPI skipPause(DWORD milliseconds)
{
    if (milliseconds != kRecordPause || std::this_thread::get_id() != gPauses.reader) {
        gPauses.realSleep(milliseconds);
        return;
    }
    gPauses.milliseconds.push_back(milliseconds);
    if (gPauses.duringPause)
        gPauses.duringPause();
}

class FileStreamPauses : public testing::Test, protected SampleReading {
protected:
    FileStreamPauses()
    {
        gPauses.reader = std::this_thread::get_id();
        gPauses.milliseconds.clear();
        gPauses.duringPause = nullptr;
    }

    ImportHook<decltype(&Sleep)> sleepHook{nullptr, "Sleep", &skipPause};
};

}  // namespace

// ---- The wait for a record ----

TEST_F(FileStreamPauses, AReadThatFindsNoRecordEndsTheHeartbeatToo)
{
    description = makeDescription("a.bin", 5);
    stream = makeStream(description, transfer);
    const std::int64_t before = unixNow();
    gPauses.duringPause = [] {
        EXPECT_EQ(gReadState, ReadState::kInRead);
        gLastReadTime = 17;
    };
    read(2);
    EXPECT_EQ(gReadState, ReadState::kBetweenReads);
    EXPECT_GE(gLastReadTime, before);
}

TEST_F(FileStreamPauses, NoDeliveryAtAllEndsTheReadAfterTenPauses)
{
    description = makeDescription("a.bin", 5);
    stream = makeStream(description, transfer);
    RecordingLog::clear();
    expectRead(5, S_FALSE, "");
    EXPECT_EQ(gPauses.milliseconds, std::vector<DWORD>(10, kRecordPause));
    EXPECT_EQ(TestAccess::waitTime(*stream.Get()), 5000u);
    EXPECT_EQ(TestAccess::transferFile(*stream.Get()), nullptr);
    EXPECT_EQ(transfer->lookUps, 10);
    EXPECT_EQ(transfer->cancels, 0);

    Messages expected;
    for (int waited = 500; waited <= 5000; waited += 500) {
        expected.emplace_back("Wait transfer file:a.bin, waittime:500");
        expected.emplace_back("mWaitClipboardReadTime:" + std::to_string(waited));
        if (waited < 5000)
            expected.emplace_back("mTransferFile:" + printAddress(nullptr));
    }
    EXPECT_EQ(RecordingLog::messages(5), expected);
    EXPECT_EQ(RecordingLog::messages(6), Messages{"May be qsp sdk has something wrong when copy files."});
    EXPECT_EQ(RecordingLog::lines().back().level, 6);
}

TEST_F(FileStreamPauses, ALaterReadTriesAgain)
{
    description = makeDescription("a.bin", 5);
    stream = makeStream(description, transfer);
    expectRead(5, S_FALSE, "");
    expectRead(5, S_FALSE, "");
    EXPECT_EQ(gPauses.milliseconds.size(), 20u);
    EXPECT_EQ(TestAccess::waitTime(*stream.Get()), 5000u);
    transfer->addSlice(*description, "hello");
    expectRead(5, S_OK, "hello");
    EXPECT_EQ(gPauses.milliseconds.size(), 20u);
    EXPECT_EQ(TestAccess::waitTime(*stream.Get()), 0u);
}

TEST_F(FileStreamPauses, ARecordThatComesDuringAPauseIsReadAfterIt)
{
    description = makeDescription("a.bin", 5);
    stream = makeStream(description, transfer);
    RecordingLog::clear();
    gPauses.duringPause = [&] {
        if (gPauses.milliseconds.size() == 2)
            transfer->addSlice(*description, "hello");
    };
    expectRead(5, S_OK, "hello");
    const void* const record = TestAccess::transferFile(*stream.Get());
    const Messages expected = {"Wait transfer file:a.bin, waittime:500",
                               "mWaitClipboardReadTime:500",
                               "mTransferFile:" + printAddress(nullptr),
                               "Wait transfer file:a.bin, waittime:500",
                               "mWaitClipboardReadTime:1000",
                               "mTransferFile:" + printAddress(record)};
    Messages found = RecordingLog::messages(5);
    ASSERT_GE(found.size(), expected.size());
    found.resize(expected.size());
    EXPECT_EQ(found, expected);
}

// The test for the limit comes before the look.
TEST_F(FileStreamPauses, ARecordThatComesDuringTheLastPauseIsLeftToTheNextRead)
{
    description = makeDescription("a.bin", 5);
    stream = makeStream(description, transfer);
    gPauses.duringPause = [&] {
        if (gPauses.milliseconds.size() == 10)
            transfer->addSlice(*description, "hello");
    };
    expectRead(5, S_FALSE, "");
    expectRead(5, S_OK, "hello");
}

TEST_F(FileStreamPauses, WithoutATransferOrAFileNothingIsEverFound)
{
    transfer->addSlice(*makeDescription("", 5), "hello");
    stream = makeStream(nullptr, transfer);
    expectRead(5, S_FALSE, "");
    EXPECT_EQ(gPauses.milliseconds.size(), 10u);
    EXPECT_EQ(RecordingLog::count(5, "Wait transfer file:, waittime:500"), 10);

    stream = makeStream(makeDescription("a.bin", 5), nullptr);
    expectRead(5, S_FALSE, "");
    EXPECT_EQ(gPauses.milliseconds.size(), 20u);

    stream = holdStream(new FileStream(makeDescription("a.bin", 5), nullptr, nullptr, kFileModeTransfer));
    expectRead(5, S_FALSE, "");
    EXPECT_EQ(gPauses.milliseconds.size(), 30u);
    EXPECT_EQ(transfer->lookUps, 0);
}

// ---- The data object dies ----

TEST_F(FileStreamPauses, AfterTheDataObjectsDeathReadsAreRevertedAndNothingIsLookedUp)
{
    setUpFile(5, 5);
    expectRead(2, S_OK, contents.substr(0, 2));
    stream->Disconnect();
    gLastReadTime = 17;
    const ReadResult found = read(5);
    EXPECT_EQ(found.result, STG_E_REVERTED);
    EXPECT_EQ(found.count, 0u);
    EXPECT_EQ(transfer->lookUps, 1);
    EXPECT_EQ(gLastReadTime, 17);
    EXPECT_TRUE(stream->SetFile(description, nullptr, nullptr, kFileModeTransfer));
    EXPECT_EQ(read(5).result, STG_E_REVERTED);
}

TEST_F(FileStreamPauses, TheWaitForARecordEndsWithTheDataObject)
{
    description = makeDescription("a.bin", 5);
    stream = makeStream(description, transfer);
    RecordingLog::clear();
    gPauses.duringPause = [&] {
        if (gPauses.milliseconds.size() == 3)
            stream->Disconnect();
    };
    const ReadResult found = read(5);
    EXPECT_EQ(found.result, STG_E_REVERTED);
    EXPECT_EQ(found.count, 0u);
    EXPECT_EQ(gPauses.milliseconds.size(), 3u);
    EXPECT_EQ(transfer->lookUps, 3);
    EXPECT_EQ(gReadState, ReadState::kBetweenReads);
    EXPECT_EQ(RecordingLog::messages(6), Messages{});
}

// ---- Failures inside ----

TEST_F(FileStreamPauses, NoExceptionLeavesARead)
{
    setUpFile(5, 5);
    transfer->duringLookUp = [] { throw std::bad_alloc(); };
    ReadResult found = read(5);
    EXPECT_EQ(found.result, E_OUTOFMEMORY);
    EXPECT_EQ(found.count, 0u);
    EXPECT_EQ(gReadState, ReadState::kBetweenReads);
    transfer->duringLookUp = [] { throw std::out_of_range("no such slice"); };
    found = read(5);
    EXPECT_EQ(found.result, E_FAIL);
    EXPECT_EQ(found.count, 0u);
    // Neither the lock nor the mark of the reader stayed behind.
    transfer->duringLookUp = nullptr;
    expectRead(5, S_OK, contents);
    std::async(std::launch::async, [&] { stream->Cancel(); }).get();
}

// ---- From inside a Read, on its own thread ----

TEST_F(FileStreamPauses, CancelFromInsideAReadDoesNotWaitForIt)
{
    setUpFile(5, 5);
    transfer->duringLookUp = [&] { stream->Cancel(); };
    expectRead(2, S_OK, contents.substr(0, 2));
    EXPECT_TRUE(TestAccess::cancelled(*stream.Get()));
    EXPECT_EQ(read(2).result, STG_E_REVERTED);
}

TEST_F(FileStreamPauses, TheOtherOperationsDoNotWaitForTheReadTheyAreCalledFrom)
{
    setUpFile(5, 5);
    const auto next = makeDescription("b.bin", 4);
    transfer->addSlice(*next, "next");
    transfer->duringLookUp = [&] {
        transfer->duringLookUp = nullptr;
        STATSTG statistics;
        EXPECT_EQ(stream->Stat(&statistics, STATFLAG_NONAME), S_OK);
        EXPECT_EQ(statistics.cbSize.QuadPart, 5u);
        EXPECT_EQ(stream->Seek({}, STREAM_SEEK_SET, nullptr), S_OK);
        EXPECT_EQ(read(2).bytes, contents.substr(0, 2));
        stream->Cancel();
        EXPECT_TRUE(stream->SetFile(next, nullptr, nullptr, kFileModeTransfer)) << "after the inner read, too";
    };
    EXPECT_EQ(read(2).result, S_OK);
    EXPECT_EQ(stream->GetFileDescription(), next);
}

// ---- Beside a Read, on another thread ----

TEST_F(FileStreamPauses, TheDescriptionIsGivenWhileAReadWaits)
{
    description = makeDescription("a.bin", 5);
    stream = makeStream(description, transfer);
    gPauses.duringPause = [&] {
        auto other = std::async(std::launch::async, [&] { return stream->GetFileDescription(); });
        EXPECT_EQ(other.get(), description);
    };
    expectRead(5, S_FALSE, "");
}

TEST_F(FileStreamPauses, TheOtherOperationsWaitForAReadOnAnotherThread)
{
    setUpFile(5, 5);
    std::vector<std::future<void>> others;
    std::atomic<int> ended{0};
    transfer->duringLookUp = [&] {
        others.push_back(std::async(std::launch::async, [&] {
            STATSTG statistics;
            stream->Stat(&statistics, STATFLAG_NONAME);
            ++ended;
        }));
        others.push_back(std::async(std::launch::async, [&] {
            stream->Seek({}, STREAM_SEEK_SET, nullptr);
            ++ended;
        }));
        others.push_back(std::async(std::launch::async, [&] {
            stream->SetFile(description, nullptr, nullptr, kFileModeTransfer);
            ++ended;
        }));
        others.push_back(std::async(std::launch::async, [&] {
            stream->Cancel();
            ++ended;
        }));
        EXPECT_EQ(others[0].wait_for(std::chrono::milliseconds(200)), std::future_status::timeout);
        EXPECT_EQ(ended, 0);
        EXPECT_FALSE(TestAccess::cancelled(*stream.Get()));
    };
    expectRead(5, S_OK, contents);
    for (std::future<void>& other : others)
        other.get();
    EXPECT_EQ(ended, 4);
    EXPECT_TRUE(TestAccess::cancelled(*stream.Get()));
}

// Only what a read itself leads to goes on without the lock.
TEST_F(FileStreamPauses, TheReadersThreadWaitsLikeAnyOtherOnceItsReadHasEnded)
{
    setUpFile(5, 5);
    std::promise<void> hasRead;
    std::promise<void> goOn;
    auto reader = std::async(std::launch::async, [&] {
        read(5);
        hasRead.set_value();
        goOn.get_future().wait();
        STATSTG statistics;
        stream->Stat(&statistics, STATFLAG_NONAME);
    });
    hasRead.get_future().wait();
    std::unique_lock lock(TestAccess::mutex(*stream.Get()));
    goOn.set_value();
    EXPECT_EQ(reader.wait_for(std::chrono::milliseconds(200)), std::future_status::timeout);
    lock.unlock();
    reader.get();
}

// A report of a failure wakes who waits for a slice, and waits for the reader only then.
TEST_F(FileStreamPauses, CancelSignalsTheRecordBeforeItWaitsForTheRead)
{
    setUpFile(10, 5);
    expectRead(5, S_OK, contents.substr(0, 5));
    TransferFile& record = *TestAccess::transferFile(*stream.Get());
    std::future<std::cv_status> waiter;
    std::future<void> cancel;
    transfer->duringLookUp = [&] {
        std::promise<void> begins;
        waiter = std::async(std::launch::async, [&] {
            std::unique_lock<std::mutex> lock(TestAccess::sliceMutex(record).native());
            begins.set_value();
            return TestAccess::sliceReady(record).wait_for(lock, std::chrono::seconds(20));
        });
        begins.get_future().wait();
        std::unique_lock(TestAccess::sliceMutex(record)).unlock();  // it sleeps now
        cancel = std::async(std::launch::async, [&] { stream->Cancel(); });
        EXPECT_EQ(waiter.get(), std::cv_status::no_timeout);
        EXPECT_FALSE(TestAccess::cancelled(*stream.Get()));
    };
    read(5);
    cancel.get();
    EXPECT_TRUE(TestAccess::cancelled(*stream.Get()));
}
