// The waits of a Read at their true length: half a second between two looks for a record, five seconds for all of
// them, thirty for a slice. All readings run at once before the first test; each test looks at one of them.
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <thread>

#include "file_stream/read_heartbeat.h"
#include "sample_stream.h"
#include "support/recording_log.h"

using namespace sd::clip;

namespace {

using Messages = std::vector<std::string>;
using Clock = std::chrono::steady_clock;

const char kNoRecord[] = "May be qsp sdk has something wrong when copy files.";
const char kReadFailed[] = "Read file conntext fail. Cancel remote transfer";

double secondsSince(Clock::time_point begin)
{
    return std::chrono::duration<double>(Clock::now() - begin).count();
}

void waitUntil(Clock::time_point begin, double seconds)
{
    std::this_thread::sleep_until(begin +
                                  std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds)));
}

// One application that reads one file, and what happens meanwhile.
struct Reading {
    explicit Reading(std::uint64_t size) : description(makeDescription("a.bin", size)) {}

    // The first five bytes are there, and read before the read that counts.
    void giveFirstSlice()
    {
        firstSlice = transfer->addSlice(*description, "first");
        hasFirstSlice = true;
    }

    // Reads on a thread of its own.
    void start()
    {
        stream = makeStream(description, transfer);
        begin = Clock::now();
        reader = std::thread([this] {
            readerId = std::this_thread::get_id();
            if (hasFirstSlice)
                first = readStream(*stream.Get(), 5);
            read = readStream(*stream.Get(), 5);
            readSeconds = secondsSince(begin);
        });
    }

    // Cancels on another thread.
    void cancelAfter(double seconds)
    {
        canceller = std::thread([this, seconds] {
            waitUntil(begin, seconds);
            stream->Cancel();
            cancelSeconds = secondsSince(begin);
        });
    }

    // The files differ in size, so that the timeouts can be told apart.
    void finish()
    {
        reader.join();
        if (canceller.joinable())
            canceller.join();
        for (const LogLine& line : RecordingLog::lines()) {
            if (line.thread == readerId)
                (line.level == 6 ? errors : messages).push_back(line.message);
        }
        const std::lock_guard<std::mutex> lock(downloadTimeouts().mutex);  // other readers still report
        for (const auto& [fileSize, copiedSize] : downloadTimeouts().reported) {
            if (fileSize == static_cast<std::int64_t>(description->size))
                timeouts.push_back(copiedSize);
        }
    }

    int countMessages(const std::string& beginning) const
    {
        int count = 0;
        for (const std::string& message : messages)
            count += message.compare(0, beginning.size(), beginning) == 0 ? 1 : 0;
        return count;
    }

    std::shared_ptr<FakeTransfer> transfer = std::make_shared<FakeTransfer>();
    std::shared_ptr<DetailFileDescription> description;
    bool hasFirstSlice = false;
    std::string firstSlice;  // its path
    StreamPointer stream;
    Clock::time_point begin;
    std::thread reader;
    std::thread canceller;
    std::thread::id readerId;
    ReadResult first;
    ReadResult read;
    double readSeconds = 0;
    double cancelSeconds = 0;
    Messages messages;                   // level 5, of the reader's thread
    Messages errors;                     // level 6
    std::vector<std::int64_t> timeouts;  // copied bytes
};

struct Readings {
    Reading noDelivery{11};
    Reading lateDelivery{12};
    Reading cancelledWithoutRecord{13};
    Reading disconnectedWithoutRecord{14};
    Reading oneSliceOnly{15};
    Reading cancelledWithoutSlice{16};
    Reading cancelledByListener{17};
    Reading disconnectedWithoutSlice{18};
    Reading usedByCancelFunction{19};
    Reading takenWithoutSlice{20};
    TransferFile newer{"a.bin", 1};
    HRESULT statInCancelFunction = E_UNEXPECTED;
    bool setFileInCancelFunction = false;

    std::vector<Reading*> all()
    {
        return {&noDelivery,           &lateDelivery,          &cancelledWithoutRecord, &disconnectedWithoutRecord,
                &oneSliceOnly,         &cancelledWithoutSlice, &cancelledByListener,    &disconnectedWithoutSlice,
                &usedByCancelFunction, &takenWithoutSlice};
    }
};

class FileStreamWait : public testing::Test {
protected:
    static void SetUpTestSuite()
    {
        sReadings = new Readings;
        giveFirstSlices();
        prepareHost();
        for (Reading* reading : sReadings->all())
            reading->start();
        sReadings->cancelledWithoutRecord.cancelAfter(1);
        sReadings->cancelledWithoutSlice.cancelAfter(1);
        deliverLate();
        sReadings->disconnectedWithoutRecord.stream->Disconnect();
        sReadings->disconnectedWithoutSlice.stream->Disconnect();
        waitUntil(sReadings->lateDelivery.begin, 3);
        EXPECT_TRUE(sReadings->newer.OpenSlice(sReadings->takenWithoutSlice.firstSlice));
        sReadings->lateDelivery.transfer->addSlice(*sReadings->lateDelivery.description, "first");
        for (Reading* reading : sReadings->all())
            reading->finish();
    }

    static void TearDownTestSuite()
    {
        delete sReadings;
        sReadings = nullptr;
    }

    static void giveFirstSlices()
    {
        for (Reading* reading :
             {&sReadings->oneSliceOnly, &sReadings->cancelledWithoutSlice, &sReadings->cancelledByListener,
              &sReadings->disconnectedWithoutSlice, &sReadings->usedByCancelFunction, &sReadings->takenWithoutSlice})
            reading->giveFirstSlice();
    }

    static void prepareHost()
    {
        downloadTimeouts().duringReport = [](std::int64_t fileSize) {
            Reading& reading = sReadings->cancelledByListener;
            if (fileSize == static_cast<std::int64_t>(reading.description->size))
                reading.stream->Cancel();
        };
        sReadings->usedByCancelFunction.transfer->duringCancel = [] {
            FileStream& stream = *sReadings->usedByCancelFunction.stream.Get();
            STATSTG statistics;
            sReadings->statInCancelFunction = stream.Stat(&statistics, STATFLAG_NONAME);
            sReadings->setFileInCancelFunction =
                stream.SetFile(makeDescription("b.bin", 1), nullptr, nullptr, kFileModeTransfer);
        };
    }

    // The first bytes, which finish no slice, after two seconds.
    static void deliverLate()
    {
        Reading& reading = sReadings->lateDelivery;
        waitUntil(reading.begin, 2);
        reading.transfer->addRecord(*reading.description);
    }

    // Not before so many seconds, but before the wait for a slice would have ended.
    static void expectNoBytesAfter(double seconds, const Reading& reading, HRESULT result)
    {
        EXPECT_EQ(reading.read.result, result);
        EXPECT_EQ(reading.read.count, 0u);
        EXPECT_GE(reading.readSeconds, seconds);
        EXPECT_LT(reading.readSeconds, 25);
    }

    static void expectTimedOut(const Reading& reading, HRESULT result = S_FALSE)
    {
        EXPECT_EQ(reading.first.result, S_OK);
        EXPECT_EQ(reading.first.bytes, "first");
        EXPECT_EQ(reading.read.result, result);
        EXPECT_EQ(reading.read.count, 0u);
        EXPECT_GE(reading.readSeconds, 29.9);
        EXPECT_LT(reading.readSeconds, 120);
        EXPECT_EQ(reading.timeouts, std::vector<std::int64_t>{5});
        Messages errors = {kReadFailed};
        if (result == S_FALSE)
            errors.push_back("(0 < 5) copyed size:5, filesize:" + std::to_string(reading.description->size));
        EXPECT_EQ(reading.errors, errors);
    }

    static Readings* sReadings;
};

Readings* FileStreamWait::sReadings = nullptr;

}  // namespace

TEST_F(FileStreamWait, NoDeliveryAtAllEndsTheReadAfterFiveSeconds)
{
    const Reading& reading = sReadings->noDelivery;
    expectNoBytesAfter(4.9, reading, S_FALSE);
    EXPECT_EQ(reading.countMessages("Wait transfer file:a.bin, waittime:500"), 10);
    EXPECT_EQ(TestAccess::waitTime(*reading.stream.Get()), 5000u);
    EXPECT_EQ(reading.errors, Messages{kNoRecord});
    EXPECT_EQ(reading.transfer->cancels, 0);
}

TEST_F(FileStreamWait, AReadBeforeAnyDeliveryReturnsOnceTheFirstSliceHasClosed)
{
    const Reading& reading = sReadings->lateDelivery;
    EXPECT_EQ(reading.read.result, S_OK);
    EXPECT_EQ(reading.read.bytes, "first");
    EXPECT_GE(reading.readSeconds, 2.9);
    EXPECT_LT(reading.readSeconds, 10);
    EXPECT_GE(reading.countMessages("Wait transfer file:"), 4);
    EXPECT_LE(reading.countMessages("Wait transfer file:"), 5);
    EXPECT_EQ(reading.countMessages("Wait slice file.. this="), 1);
    EXPECT_EQ(reading.errors, Messages{});
}

TEST_F(FileStreamWait, CancelDuringTheWaitForARecordReturnsAfterIt)
{
    const Reading& reading = sReadings->cancelledWithoutRecord;
    expectNoBytesAfter(4.9, reading, S_FALSE);
    EXPECT_GE(reading.cancelSeconds, 4.9);
    EXPECT_EQ(readStream(*reading.stream.Get(), 5).result, STG_E_REVERTED);
}

TEST_F(FileStreamWait, TheDataObjectsDeathEndsTheWaitForARecordAfterItsPause)
{
    const Reading& reading = sReadings->disconnectedWithoutRecord;
    expectNoBytesAfter(1.9, reading, STG_E_REVERTED);
    EXPECT_EQ(reading.errors, Messages{});
}

TEST_F(FileStreamWait, NoSecondSliceInThirtySecondsCancelsTheTransferOnce)
{
    const Reading& reading = sReadings->oneSliceOnly;
    expectTimedOut(reading);
    EXPECT_EQ(reading.transfer->cancels, 1);
    EXPECT_EQ(reading.countMessages("Wait slice file timeout."), 1);
    EXPECT_FALSE(TestAccess::cancelled(*reading.stream.Get()));
}

TEST_F(FileStreamWait, AfterATimeoutTheFileBeginsAgain)
{
    EXPECT_EQ(readStream(*sReadings->oneSliceOnly.stream.Get(), 5).bytes, "first");
}

TEST_F(FileStreamWait, CancelDoesNotShortenTheWaitForASliceAndReturnsAfterIt)
{
    const Reading& reading = sReadings->cancelledWithoutSlice;
    expectTimedOut(reading);
    EXPECT_EQ(reading.transfer->cancels, 1);
    EXPECT_GE(reading.cancelSeconds, 29.9);
    EXPECT_EQ(readStream(*reading.stream.Get(), 5).result, STG_E_REVERTED);
}

TEST_F(FileStreamWait, AListenerMayCancelTheStreamInsideTheTimeoutsEvent)
{
    const Reading& reading = sReadings->cancelledByListener;
    expectTimedOut(reading);
    EXPECT_EQ(reading.transfer->cancels, 1);
    EXPECT_EQ(readStream(*reading.stream.Get(), 5).result, STG_E_REVERTED);
}

TEST_F(FileStreamWait, AfterTheDataObjectsDeathTheWaitForASliceRunsOnIsRevertedAndCancelsNothing)
{
    const Reading& reading = sReadings->disconnectedWithoutSlice;
    expectTimedOut(reading, STG_E_REVERTED);
    EXPECT_EQ(reading.transfer->cancels, 0);
    EXPECT_EQ(readStream(*reading.stream.Get(), 5).result, STG_E_REVERTED);
}

// The guest delivers all the time, but into slices that are a newer list's.
TEST_F(FileStreamWait, AWaitForASliceThatANewerListTookIsRevertedAndCancelsNothing)
{
    const Reading& reading = sReadings->takenWithoutSlice;
    EXPECT_EQ(reading.first.bytes, "first");
    EXPECT_EQ(reading.read.result, STG_E_REVERTED);
    EXPECT_EQ(reading.read.count, 0u);
    EXPECT_GE(reading.readSeconds, 29.9);
    EXPECT_TRUE(reading.timeouts.empty());
    EXPECT_EQ(reading.transfer->cancels, 0);
    EXPECT_EQ(reading.errors, Messages{"A newer list has taken the slices of foldera.bin"});
}

// It may show a dialog, whose messages bring calls of other applications.
TEST_F(FileStreamWait, TheHostsCancelFunctionMayLeadBackIntoTheStream)
{
    const Reading& reading = sReadings->usedByCancelFunction;
    expectTimedOut(reading);
    EXPECT_EQ(sReadings->statInCancelFunction, S_OK);
    EXPECT_TRUE(sReadings->setFileInCancelFunction);
    EXPECT_EQ(reading.stream->GetFileDescription()->fileName, "b.bin");
}

TEST_F(FileStreamWait, AnApplicationThatSleepsFourSecondsBetweenTwoReadsHasStalled)
{
    Reading reading(5);
    reading.giveFirstSlice();
    reading.stream = makeStream(reading.description, reading.transfer);
    EXPECT_EQ(readStream(*reading.stream.Get(), 2).result, S_OK);
    EXPECT_FALSE(IsClipboardReadStalled());
    std::this_thread::sleep_for(std::chrono::seconds(4));
    EXPECT_TRUE(IsClipboardReadStalled());
    EXPECT_EQ(readStream(*reading.stream.Get(), 2).result, S_OK);
    EXPECT_FALSE(IsClipboardReadStalled());
}
