// The waits of a paste at their true length, between real programs: five seconds without a record, thirty without a
// slice, three of silence. They run in a prefix of their own, beside the other tests.
#include <chrono>

#include "host_process.h"

namespace {

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point begin)
{
    return std::chrono::duration<double>(Clock::now() - begin).count();
}

class PasteWaits : public HostProcessTest {};

}  // namespace

TEST_F(PasteWaits, NoRecordInFiveSecondsEndsTheFileAndNotTheTransfer)
{
    addGuestFile(L"a.bin", 1000000);
    startHost({L"--delay", L"60000"});
    const auto begin = Clock::now();
    EXPECT_EQ(paste(L"target"), kPasteFailed);
    EXPECT_GE(secondsSince(begin), 5.0);
    EXPECT_NE(mOutput.find("a.bin: 0 bytes came of 1000000"), std::string::npos) << mOutput;
    EXPECT_TRUE(waitForHost("May be qsp sdk has something wrong when copy files."));
    EXPECT_EQ(countInHostOutput("event: operation=\"transferFail\""), 0);
    EXPECT_EQ(countInHostOutput("cancel: "), 0);
    EXPECT_EQ(countInHostOutput("request: a.bin\n"), 1);
}

TEST_F(PasteWaits, NoSliceInThirtySecondsCancelsTheTransferOnce)
{
    addGuestFile(L"a.bin", 4000000);
    startHost({L"--stall-at", L"1500000"});
    const auto begin = Clock::now();
    EXPECT_EQ(paste(L"target"), kPasteFailed);
    EXPECT_GE(secondsSince(begin), 30.0);
    EXPECT_NE(mOutput.find("a.bin: 1048576 bytes came of 4000000"), std::string::npos) << mOutput;
    EXPECT_NE(mOutput.find("wrote 0 files"), std::string::npos) << mOutput;
    EXPECT_EQ(countInHostOutput("silent after 1500000 bytes\n"), 1);
    EXPECT_EQ(countInHostOutput("event: operation=\"transferFail\" stage=\"downloadError\" dataType=\"file\" "
                                "number=4000000 message=\"transfer fail when downloadSize/fileSize:1048576/4000000\" "
                                "result=\"error\" errorCode=\"1502\" errorDetail=\"download timeout\"\n"),
              1);
    EXPECT_EQ(countInHostOutput("event: operation=\"transferFail\""), 1);
    EXPECT_EQ(countInHostOutput("cancel: a.bin\n"), 1);
    EXPECT_EQ(countInHostOutput("event: operation=\"cancelTransfer\""), 0);
    EXPECT_EQ(endHost(), 0U);
}

TEST_F(PasteWaits, ThreeSecondsOfSilenceAreTheUsersCancel)
{
    addGuestFile(L"a.bin", 60000000);
    startHost({L"--rate", L"2000000", L"--stop-on-cancel"});
    const auto begin = Clock::now();
    ChildProcess child = startPaste(L"target", {L"--pause-at", L"1", L"--pause", L"60000"});
    EXPECT_TRUE(
        waitForHost("event: operation=\"cancelTransfer\" stage=\"userCancel\" dataType=\"file\" number=-1 "
                    "message=\"user cancel file transfer\" result=\"sucess\" errorCode=\"\" "
                    "errorDetail=\"\"\n"));
    EXPECT_GT(secondsSince(begin), 2.0);  // the silence is the difference of two times in whole seconds
    EXPECT_TRUE(waitForHost("cancel: a.bin\n"));
    EXPECT_TRUE(child.running());
    EXPECT_TRUE(waitForHost("delivery ended after "));
    EXPECT_EQ(countInHostOutput("event: operation=\"cancelTransfer\""), 1);
    EXPECT_EQ(countInHostOutput("cancel: "), 1);
    child.terminate(3);
    EXPECT_EQ(endHost(), 0U);
}

TEST_F(PasteWaits, AShortPauseIsNoCancel)
{
    addGuestFile(L"a.bin", 4000000);
    startHost({L"--rate", L"1500000"});
    EXPECT_EQ(paste(L"target", {L"--pause-at", L"1", L"--pause", L"1000"}), kPasteWritten) << mOutput;
    expectPasted(L"target");
    EXPECT_EQ(countInHostOutput("cancel: "), 0);
    EXPECT_EQ(endHost(), 0U);
}
