// The wait for a slice at its true length. The waits run side by side, once for all tests.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "file_stream/transfer_file.h"
#include "sample_transfer.h"
#include "support/event_engine.h"
#include "support/recording_log.h"

using sd::clip::TestAccess;

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;
using std::chrono::seconds;

struct Report {
    std::int64_t fileSize = 0;
    std::int64_t copiedSize = 0;
    bool readerGone = false;
    std::int32_t readSliceIndex = -1;
};

std::mutex gReportsMutex;
std::vector<Report> gReports;
sd::clip::TransferFile* gReported = nullptr;  // whose state is noted in the reports; set before the waits begin
std::int64_t gReportedSize = 0;

// Of the file whose report fails.
constexpr std::int64_t kThrowingSize = 90;

// What a Read that waits in vain left behind.
struct VainRead {
    explicit VainRead(std::int64_t fileSize) : transfer(fileSize) {}

    void run()
    {
        const auto begun = Clock::now();
        result = transfer.read(100);
        length = Clock::now() - begun;
    }

    SampleTransfer transfer;
    ReadResult result;
    Clock::duration length{};
};

struct Waits {
    VainRead noSlice{50};
    VainRead noSecondSlice{60};
    VainRead signalled{70};
    VainRead hole{80};
    VainRead throwing{kThrowingSize};
    std::vector<LogLine> lines;

    Waits()
    {
        RecordingLog::clear();
        noSecondSlice.transfer.addSlice("first");
        noSecondSlice.transfer.read(100);
        throwing.transfer.addSlice("first");
        throwing.transfer.read(100);
        hole.transfer.addSlice("gone");
        std::filesystem::remove(TestAccess::slices(hole.transfer.file)[0]);
        hole.transfer.read(100);
        gReported = &noSecondSlice.transfer.file;
        gReportedSize = 60;

        std::atomic<bool> done{false};
        std::thread signaller([&] {
            while (!done) {
                signalled.transfer.file.NotifySliceReady();
                std::this_thread::sleep_for(milliseconds(100));
            }
        });
        std::vector<std::thread> readers;
        for (VainRead* read : {&noSlice, &noSecondSlice, &signalled, &hole, &throwing})
            readers.emplace_back([read] { read->run(); });
        for (std::thread& reader : readers)
            reader.join();
        done = true;
        signaller.join();
        lines = RecordingLog::lines();
    }
};

Waits& waits()
{
    static Waits waits;
    return waits;
}

std::vector<Report> reportsOf(std::int64_t fileSize)
{
    std::vector<Report> result;
    std::lock_guard<std::mutex> lock(gReportsMutex);
    for (const Report& report : gReports) {
        if (report.fileSize == fileSize)
            result.push_back(report);
    }
    return result;
}

void expectThirtySeconds(const VainRead& read)
{
    EXPECT_FALSE(read.result.ready);
    EXPECT_EQ(read.result.bytes, "");
    EXPECT_GE(read.length, seconds(30));
    EXPECT_LT(read.length, seconds(45));
}

// The last number before the slash of the message.
std::int64_t copiedSizeOf(const EngineEvent& event)
{
    return std::stoll(event.message.substr(event.message.rfind(':') + 1));
}

void noteReport(const EngineEvent& event)
{
    const std::int64_t fileSize = event.number;
    Report report{fileSize, copiedSizeOf(event), false, -1};
    if (fileSize == gReportedSize) {
        report.readerGone = TestAccess::sliceReader(*gReported) == nullptr;
        report.readSliceIndex = TestAccess::readSliceIndex(*gReported);
    }
    std::lock_guard<std::mutex> lock(gReportsMutex);
    gReports.push_back(report);
    if (fileSize == kThrowingSize)
        throw std::runtime_error("the host's");
}

// Heard before the first wait.
const EventEngine gEngine(&noteReport);

}  // namespace

TEST(TransferFileTimeout, AReadWithoutASliceFailsAfterThirtySeconds)
{
    expectThirtySeconds(waits().noSlice);
    expectThirtySeconds(waits().noSecondSlice);
}

TEST(TransferFileTimeout, SignalsNeitherShortenNorProlongTheWait)
{
    expectThirtySeconds(waits().signalled);
}

TEST(TransferFileTimeout, AHoleInTheDataEndsInATimeout)
{
    expectThirtySeconds(waits().hole);
    ASSERT_EQ(reportsOf(80).size(), 1u);
    EXPECT_EQ(reportsOf(80)[0].copiedSize, 0);
}

TEST(TransferFileTimeout, ATimeoutIsReportedOnceWithWhatWasCopied)
{
    ASSERT_EQ((waits(), reportsOf(60).size()), 1u);
    EXPECT_EQ(reportsOf(60)[0].copiedSize, 5);
    ASSERT_EQ(reportsOf(50).size(), 1u);
    EXPECT_EQ(reportsOf(50)[0].copiedSize, 0);
    EXPECT_EQ(reportsOf(70).size(), 1u);
}

TEST(TransferFileTimeout, TheReportComesBeforeTheReaderIsGivenUp)
{
    ASSERT_EQ((waits(), reportsOf(60).size()), 1u);
    EXPECT_FALSE(reportsOf(60)[0].readerGone);
    EXPECT_EQ(reportsOf(60)[0].readSliceIndex, 1);
}

TEST(TransferFileTimeout, EachVainWaitLogsItsBeginningAndItsEnd)
{
    int ends = 0;
    int beginnings = 0;
    const std::string beginning = "Wait slice file.. this=" + printAddress(&waits().noSecondSlice.transfer.file);
    for (const LogLine& line : waits().lines) {
        ends += line.level == 5 && line.message == "Wait slice file timeout." ? 1 : 0;
        beginnings += line.level == 5 && line.message == beginning ? 1 : 0;
    }
    EXPECT_EQ(ends, 5);
    EXPECT_EQ(beginnings, 1);
}

TEST(TransferFileTimeout, WhatTheReportThrowsIsKeptAndTheReaderIsGivenUpAllTheSame)
{
    expectThirtySeconds(waits().throwing);
    sd::clip::TransferFile& file = waits().throwing.transfer.file;
    EXPECT_EQ(TestAccess::sliceReader(file), nullptr);
    EXPECT_EQ(TestAccess::readSliceIndex(file), 0);
    EXPECT_THROW(file.RethrowReportFailure(), std::runtime_error);
    EXPECT_NO_THROW(file.RethrowReportFailure());
    EXPECT_NO_THROW(waits().noSlice.transfer.file.RethrowReportFailure());
}

// Runs last: it reads on.
TEST(TransferFileTimeout, TheSumStaysAndTheNextReadBeginsTheFileAgain)
{
    SampleTransfer& transfer = waits().noSecondSlice.transfer;
    EXPECT_EQ(TestAccess::sliceReader(transfer.file), nullptr);
    EXPECT_EQ(TestAccess::readSliceIndex(transfer.file), 0);
    EXPECT_EQ(transfer.file.CopiedSize(), 5);
    const ReadResult again = transfer.read(100);
    EXPECT_TRUE(again.ready);
    EXPECT_EQ(again.bytes, "first");
    EXPECT_EQ(transfer.file.CopiedSize(), 5);
}
