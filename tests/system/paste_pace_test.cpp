// Readers and writers at their own pace, and files that are read again.
#include "clip_paste/offered_files.h"
#include "example_support/joined_ole.h"
#include "guest_paste.h"
#include "reading_application.h"
#include "sha256.h"
#include "support/recording_log.h"
#include "support/test_roles.h"

namespace {

constexpr std::size_t kSlice = 1048576;

// ---- The other application ----

// Reads each file to its size and asks for no byte more, and does all of that again. Prints the sums.
const TestRole exactRole("read-exactly-twice", [](const std::vector<std::string>&) {
    const JoinedOle ole;
    const OfferedFiles offered;
    for (int time = 0; time < 2; ++time) {
        for (std::size_t i = 0; i < offered.files().size(); ++i) {
            printLine(sha256Of(readExactly(*offered.openContents(i).Get(), offered.files()[i].size.value())));
        }
    }
    return 0;
});

// ---- Helpers ----

int countWaits()
{
    int count = 0;
    for (const std::string& message : RecordingLog::messages(5))
        count += message.rfind("Wait slice file..", 0) == 0 ? 1 : 0;
    return count;
}

class PastePace : public PasteTest {
protected:
    // Each of the list's files is read anew at its first byte, and nobody is asked again.
    void expectPasteFromSlices(const GuestList& list, const std::wstring& target)
    {
        EXPECT_EQ(paste(target), kPasteWritten) << mOutput;
        expectPasted(list, target);
        EXPECT_EQ(list.requests(), 1);
        EXPECT_EQ(list.cancels(), 0);
    }
};

}  // namespace

TEST_F(PastePace, AReaderOvertakesTheWriterAgainAndAgain)
{
    constexpr std::size_t kSlices = 12;
    std::atomic<std::size_t> overtaken{0};
    Delivery delivery;
    delivery.piece = kSlice;
    // A slice comes only after the reader has asked for it.
    delivery.before = [&](std::uint64_t sent) {
        const auto slice = static_cast<int>(sent / kSlice);
        if (slice > 0 && waitUntil([&] { return countWaits() >= slice; }))
            ++overtaken;
    };
    const auto list = offerNew({{"", "a.bin", makeBytes(kSlices * kSlice)}}, delivery);
    EXPECT_EQ(paste(L"target"), kPasteWritten) << mOutput;
    expectPasted(*list, L"target");
    EXPECT_EQ(overtaken, kSlices - 1);
}

TEST_F(PastePace, AWriterIsFarAhead)
{
    const auto list = offerNew({{"", "a.bin", makeBytes(20 * kSlice)}, {"", "b.bin", makeBytes(kSlice)}}, {kSlice});
    ChildProcess child = startPaste(L"target", {L"--chunk", L"4096", L"--pause-at", L"1", L"--pause", L"1000"});
    EXPECT_TRUE(list->waitForDelivery());
    EXPECT_TRUE(child.running());  // it has read no further than one slice
    EXPECT_EQ(child.waitForExit(60000), kPasteWritten) << child.output();
    expectPasted(*list, L"target");
}

TEST_F(PastePace, AReaderFollowsASlowWriter)
{
    const auto list =
        offerNew({{"", "slow.bin", makeBytes(3000000)}, {"", "slow too.bin", makeBytes(50)}}, {100000, 20});
    EXPECT_EQ(paste(L"target"), kPasteWritten) << mOutput;
    expectPasted(*list, L"target");
}

TEST_F(PastePace, APasteBeginsBeforeTheFirstDelivery)
{
    Delivery delivery;
    delivery.before = [this](std::uint64_t sent) {
        if (sent == 0)
            mGate.pass();
    };
    const auto list = offerNew({{"", "a.bin", makeBytes(3 * kSlice)}}, delivery);
    ChildProcess child = startPaste(L"target");
    EXPECT_TRUE(RecordingLog::waitForLine(5, "Wait transfer file:a.bin", 30000));
    EXPECT_TRUE(RecordingLog::waitForLine(5, "mTransferFile:", 30000));
    mGate.open();
    EXPECT_EQ(child.waitForExit(60000), kPasteWritten) << child.output();
    expectPasted(*list, L"target");
}

TEST_F(PastePace, ASecondPasteIsServedFromTheSlices)
{
    const auto list = offerNew({{"", "a.bin", makeBytes(3 * kSlice + 1)}, {"folder", "b.txt", "b"}, {"", "c", ""}});
    expectPasteFromSlices(*list, L"first");
    EXPECT_TRUE(list->waitForDelivery());
    expectPasteFromSlices(*list, L"second");
    expectPasteFromSlices(*list, L"third");
}

TEST_F(PastePace, AStoppedPasteIsDoneAgainFromTheSlices)
{
    const auto list = offerNew({{"", "a.bin", makeBytes(3 * kSlice)}, {"", "b.bin", makeBytes(4 * kSlice)}});
    // once within the first file and once within the second, each time within a slice
    EXPECT_EQ(paste(L"stopped", {L"--stop-after", std::to_wstring(kSlice + 500000)}), kPasteStopped) << mOutput;
    EXPECT_TRUE(list->waitForDelivery());
    EXPECT_EQ(paste(L"stopped later", {L"--stop-after", std::to_wstring(5 * kSlice + 1000)}), kPasteStopped) << mOutput;
    expectPasteFromSlices(*list, L"whole");
}

TEST_F(PastePace, AnApplicationReadsExactlyTheSizeTwice)
{
    const std::vector<GuestFile> files = {{"", "a.bin", makeBytes(2 * kSlice + 77)},
                                          {"", "b.bin", makeBytes(kSlice)},
                                          {"", "empty", ""},
                                          {"", "c.txt", makeBytes(1000)}};
    const auto list = offerNew(files);
    ChildProcess child = ChildProcess::inRole(L"read-exactly-twice");
    EXPECT_EQ(child.waitForExit(60000), 0U);
    std::string once;
    for (const GuestFile& file : files)
        once += sha256Of(file.bytes) + "\n";
    EXPECT_EQ(child.output(), once + once);
    EXPECT_EQ(list->requests(), 1);
    expectPasteFromSlices(*list, L"afterwards");
}
