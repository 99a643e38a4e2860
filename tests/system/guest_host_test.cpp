// clip-host with a guest, as a program: what it prints, and what its faults do to a paste of another program.
#include <chrono>

#include "host_process.h"

namespace {

using Clock = std::chrono::steady_clock;

const char kCancelled[] = "event: operation=\"cancelTransfer\" stage=\"userCancel\"";
const char kTriggered[] = "event: operation=\"triggerClipboardFilePaste\"";
const char kEnded[] = "event: operation=\"endClipboardFile\"";

double secondsSince(Clock::time_point begin)
{
    return std::chrono::duration<double>(Clock::now() - begin).count();
}

class GuestHost : public HostProcessTest {
protected:
    void expectOneCancel()
    {
        EXPECT_TRUE(waitForHost(kCancelled));
        EXPECT_TRUE(waitForHost("cancel: long.bin\n"));
    }

    // To be asked when the delivery has ended.
    void expectNoFurtherCancel()
    {
        EXPECT_EQ(countInHostOutput(kCancelled), 1);
        EXPECT_EQ(countInHostOutput("cancel: "), 1);
        EXPECT_EQ(countInHostOutput(kEnded), 0);
    }
};

}  // namespace

TEST_F(GuestHost, AFolderIsPastedWholeAndTold)
{
    addGuestFile(L"a.bin", 3000000);
    addGuestFile(L"folder\\\u65E5\u672C.txt", 10);
    addGuestFile(L"folder\\empty", 0);
    mFolder.addFolder(L"guest\\bare");
    startHost({L"--piece", L"1000"});
    EXPECT_EQ(countInHostOutput("offered 3 files, 3000010 bytes\n"), 1);

    EXPECT_EQ(paste(L"target"), kPasteWritten) << mOutput;
    EXPECT_NE(mOutput.find("wrote 3 files, 3000010 bytes to "), std::string::npos) << mOutput;
    expectPasted(L"target");
    EXPECT_TRUE(waitForHost("delivered 3 files, 3000010 bytes\n"));
    EXPECT_EQ(paste(L"again"), kPasteWritten) << mOutput;
    expectPasted(L"again");
    EXPECT_EQ(countInHostOutput("request: "), 1);
    EXPECT_EQ(countInHostOutput(kTriggered), 1);
    EXPECT_EQ(countInHostOutput("cancel: "), 0);
    EXPECT_EQ(endHost(), 0U);
}

TEST_F(GuestHost, AVetoRefusesThePaste)
{
    addGuestFile(L"a.bin", 100000);
    startHost({L"--veto"});
    EXPECT_EQ(paste(L"target"), kPasteFailed);
    EXPECT_NE(mOutput.find("asking for the contents gives 0x80040064"), std::string::npos) << mOutput;
    EXPECT_NE(mOutput.find("wrote 0 files"), std::string::npos) << mOutput;
    EXPECT_EQ(countInHostOutput("veto\n"), 1);
    EXPECT_EQ(countInHostOutput("request: "), 0);
    EXPECT_EQ(countInHostOutput(kTriggered), 0);
    EXPECT_EQ(endHost(), 0U);
}

TEST_F(GuestHost, AFailureOfTheTransferEndsThePaste)
{
    addGuestFile(L"a.bin", 4000000);
    startHost({L"--fail-at", L"2500000"});
    // It has read a slice's beginning when the failure comes. A reader that waits for a slice would learn of it only
    // after its thirty seconds.
    EXPECT_EQ(paste(L"target", {L"--pause-at", L"1", L"--pause", L"2000"}), kPasteFailed);
    EXPECT_NE(mOutput.find("wrote 0 files"), std::string::npos) << mOutput;
    EXPECT_EQ(countInHostOutput("reports a failed transfer after 2500000 bytes: as asked for\n"), 1);
    EXPECT_EQ(countInHostOutput("delivery ended after 2500000 bytes\n"), 1);
    EXPECT_EQ(countInHostOutput(kEnded), 0);
    EXPECT_EQ(paste(L"later"), kPasteFailed) << mOutput;
    EXPECT_EQ(countInHostOutput("request: "), 1);
    EXPECT_EQ(endHost(), 0U);
}

TEST_F(GuestHost, AUserWhoStopsIsToldOnceAndTheDeliveryMayGoOn)
{
    addGuestFile(L"long.bin", 15000000);
    startHost({L"--rate", L"2400000"});
    EXPECT_EQ(paste(L"target", {L"--stop-after", L"1000000"}), kPasteStopped) << mOutput;
    expectOneCancel();
    EXPECT_TRUE(waitForHost("delivered 1 files, 15000000 bytes\n"));
    expectNoFurtherCancel();
    EXPECT_EQ(endHost(), 0U);
}

TEST_F(GuestHost, AKilledApplicationIsToldOnceAndTheDeliveryMayEnd)
{
    addGuestFile(L"long.bin", 60000000);
    startHost({L"--rate", L"2000000", L"--stop-on-cancel"});
    {
        ChildProcess child = startPaste(L"target");
        EXPECT_TRUE(child.waitForOutput(" MiB/s"));  // a line of progress: it reads
        child.terminate(3);
        EXPECT_EQ(child.waitForExit(), 3U);
    }
    expectOneCancel();
    EXPECT_TRUE(waitForHost("delivery ended after "));
    expectNoFurtherCancel();
    EXPECT_EQ(countInHostOutput("delivered 1 files"), 0);
    EXPECT_EQ(endHost(), 0U);
}

TEST_F(GuestHost, APasteWaitsForALateFirstDelivery)
{
    addGuestFile(L"a.bin", 1500000);
    startHost({L"--delay", L"2000"});
    const auto begin = Clock::now();
    EXPECT_EQ(paste(L"target"), kPasteWritten) << mOutput;
    EXPECT_GE(secondsSince(begin), 2.0);
    expectPasted(L"target");
    EXPECT_EQ(endHost(), 0U);
}

TEST_F(GuestHost, ARateIsKept)
{
    addGuestFile(L"a.bin", 3000000);
    startHost({L"--rate", L"1500000", L"--piece", L"100000"});
    const auto begin = Clock::now();
    EXPECT_EQ(paste(L"target"), kPasteWritten) << mOutput;
    // The last delivery is due when all before it have had their time. Less a tick of the system's clock.
    EXPECT_GE(secondsSince(begin), 2900000.0 / 1500000.0 - 0.05);
    expectPasted(L"target");
    EXPECT_EQ(endHost(), 0U);
}
