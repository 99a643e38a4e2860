// The user who ends a paste while deliveries are still coming: noticed after three seconds, once.
#include "guest_paste.h"
#include "support/recording_log.h"

namespace {

constexpr int kDroppedAfterwards = 20;

class PasteCancel : public PasteTest {
protected:
    // 50 MB at no more than 10 MB a second: it lasts longer than the silence that counts as a cancel.
    std::shared_ptr<GuestList> offerLongList()
    {
        return offerNew({{"", "long.bin", makeBytes(50000000)}, {"", "never.txt", "never"}}, {100000, 10});
    }

    // The guest is told once, however much it goes on delivering, and is rid of the list then.
    void expectOneCancel(const GuestList& list)
    {
        EXPECT_TRUE(waitForEvents("cancelTransfer", 1));
        EXPECT_TRUE(waitUntil([&] { return list.cancels() > 0; }));
        EXPECT_TRUE(waitUntil(
            [] { return RecordingLog::count(6, "mClipData is nullptr. maybe use canceled.") >= kDroppedAfterwards; }));
        EXPECT_EQ(list.cancels(), 1);
        EXPECT_EQ(list.requests(), 1);
        EXPECT_EQ(countEvents("cancelTransfer"), 1U);
        EXPECT_EQ(countEvents("endClipboardFile"), 0U);
        EXPECT_EQ(RecordingLog::count(5, "User canceled copy action"), 1);
    }
};

}  // namespace

TEST_F(PasteCancel, AUserWhoStopsIsNoticedOnceAndTheNextListWorks)
{
    const auto list = offerLongList();
    EXPECT_EQ(paste(L"stopped", {L"--stop-after", L"1500000"}), kPasteStopped) << mOutput;
    expectOneCancel(*list);
    expectNextListWorks();
}

TEST_F(PasteCancel, AKilledApplicationIsNoticedOnceAndTheNextListWorks)
{
    const auto list = offerLongList();
    {
        ChildProcess child = startPaste(L"killed");
        EXPECT_TRUE(RecordingLog::waitForLine(5, "Start Read(1)", 30000));
        EXPECT_TRUE(child.running());
        child.terminate(3);
        EXPECT_EQ(child.waitForExit(), 3U);
    }
    expectOneCancel(*list);
    expectNextListWorks();
}

TEST_F(PasteCancel, AUserWhoStopsAfterTheLastDeliveryIsNoCancel)
{
    const auto list = offerNew({{"", "a.bin", makeBytes(5000000)}});
    EXPECT_EQ(paste(L"stopped", {L"--stop-after", L"1500000"}), kPasteStopped) << mOutput;
    EXPECT_TRUE(list->waitForDelivery());
    EXPECT_TRUE(waitForEvents("endClipboardFile", 1));
    EXPECT_EQ(list->cancels(), 0);
    EXPECT_EQ(countEvents("cancelTransfer"), 0U);
    expectNextListWorks();
}
