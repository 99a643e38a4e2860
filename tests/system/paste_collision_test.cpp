// What else happens to the clipboard around a paste: other pastes, other lists, other programs' copies.
#include "guest_paste.h"
#include "pausing_application.h"
#include "sha256.h"
#include "support/recording_log.h"

namespace {

constexpr std::size_t kSlice = 1048576;

const char kRefusedContents[] = "asking for the contents gives 0x80040064";  // DV_E_FORMATETC

class PasteCollision : public PasteTest {
protected:
    // A list whose delivery waits at the gate in the middle of its second slice.
    std::shared_ptr<GuestList> makeHeldList()
    {
        Delivery delivery;
        delivery.before = [this](std::uint64_t sent) {
            if (sent > kSlice)
                mGate.pass();
        };
        return makeList({{"", "a.bin", makeBytes(4 * kSlice)}, {"folder", "b.txt", "b"}}, delivery);
    }

    // Starts a paste of that list, up to the gate.
    ChildProcess startHeldPaste(const std::shared_ptr<GuestList>& list)
    {
        EXPECT_TRUE(offer(list));
        ChildProcess child = startPaste(L"held");
        EXPECT_TRUE(mGate.waitForArrival());
        EXPECT_TRUE(RecordingLog::waitForLine(5, "Start Read(0)", 30000));
        return child;
    }

    // The paste goes on from the gate, and its files are whole.
    void expectHeldPasteCompletes(ChildProcess& child, const GuestList& list)
    {
        EXPECT_TRUE(child.running());
        mGate.open();
        EXPECT_EQ(child.waitForExit(60000), kPasteWritten) << child.output();
        expectPasted(list, L"held");
        EXPECT_EQ(list.requests(), 1);
        EXPECT_EQ(list.cancels(), 0);
        EXPECT_EQ(countEvents("endClipboardFile"), 1U);
    }

    void copyText()
    {
        ChildProcess child(L"clip-copy.exe", {L"--text", L"somebody's text"});
        EXPECT_EQ(child.waitForExit(), 0U) << child.output();
    }

    void expectNothingToPaste()
    {
        EXPECT_EQ(paste(L"nothing"), kPasteFailed);
        EXPECT_NE(mOutput.find("the clipboard holds no files that can be pasted as streams"), std::string::npos)
            << mOutput;
    }
};

const std::vector<GuestFile> kOtherFiles = {{"", "other.bin", makeBytes(kSlice + 5)}, {"", "a.bin", "another a"}};

}  // namespace

TEST_F(PasteCollision, ASecondPasteDuringAPasteIsRefusedAndTheFirstCompletes)
{
    const auto list = makeHeldList();
    ASSERT_TRUE(offer(list));
    PausingApplication first;
    EXPECT_TRUE(first.waitForFirstPiece());
    EXPECT_TRUE(mGate.waitForArrival());

    EXPECT_EQ(paste(L"second"), kPasteFailed);
    EXPECT_NE(mOutput.find(kRefusedContents), std::string::npos) << mOutput;
    EXPECT_EQ(RecordingLog::count(6, "Detect new copy while copy event processing, ignore."), 1);

    // The guest goes on when the first application does: before, its deliveries would find a silent reader.
    first.readOn();
    EXPECT_TRUE(RecordingLog::waitForLine(5, "Wait slice file..", 30000));
    mGate.open();
    std::string expected;
    for (const GuestFile& file : list->files())
        expected += sha256Of(file.bytes) + "\n";
    EXPECT_EQ(first.waitForSums(), expected);

    EXPECT_EQ(paste(L"third"), kPasteWritten) << mOutput;
    expectPasted(*list, L"third");
    EXPECT_EQ(list->requests(), 1);
    EXPECT_EQ(list->cancels(), 0);
}

TEST_F(PasteCollision, TwoPastesAtOnceAfterTheFinishDoNoHarm)
{
    const auto list = offerNew({{"", "a.bin", makeBytes(3 * kSlice)}, {"", "b.bin", makeBytes(2 * kSlice)}});
    EXPECT_EQ(paste(L"first"), kPasteWritten) << mOutput;
    EXPECT_TRUE(list->waitForDelivery());
    {
        // One stream serves both, so neither needs to get what it wants; but both end.
        ChildProcess left = startPaste(L"left");
        ChildProcess right = startPaste(L"right");
        EXPECT_NE(left.waitForExit(60000), DWORD{STILL_ACTIVE}) << left.output();
        EXPECT_NE(right.waitForExit(60000), DWORD{STILL_ACTIVE}) << right.output();
    }
    EXPECT_EQ(paste(L"later"), kPasteWritten) << mOutput;
    expectPasted(*list, L"later");
    EXPECT_EQ(list->requests(), 1);
    expectNextListWorks();
}

TEST_F(PasteCollision, ASecondListDuringATransferIsRefusedAndTheTransferCompletes)
{
    const auto list = makeHeldList();
    ChildProcess child = startHeldPaste(list);
    const auto other = makeList(kOtherFiles);
    EXPECT_FALSE(offer(other));
    const auto events = mHost.listener().events();
    ASSERT_FALSE(events.empty());
    EXPECT_EQ(events.back().operation, "setClipboard");
    EXPECT_EQ(events.back().stage, "condition");
    EXPECT_EQ(events.back().number, 2);
    EXPECT_EQ(events.back().message, "received guest file list when some file is transferring, ignore");
    expectHeldPasteCompletes(child, *list);
    EXPECT_EQ(other->requests(), 0);
    EXPECT_TRUE(offer(other));
    EXPECT_EQ(paste(L"other"), kPasteWritten) << mOutput;
    expectPasted(*other, L"other");
}

TEST_F(PasteCollision, AListTakesThePlaceOfAnother)
{
    const auto replaced = offerNew({{"", "a.bin", makeBytes(kSlice)}, {"", "gone.txt", "gone"}});
    const auto other = offerNew(kOtherFiles);
    EXPECT_EQ(paste(L"other"), kPasteWritten) << mOutput;
    expectPasted(*other, L"other");
    EXPECT_EQ(replaced->requests(), 0);
    EXPECT_EQ(replaced->cancels(), 0);
}

// The library's own look at a changed clipboard must not keep its next list from getting there.
TEST_F(PasteCollision, EachOfManyListsInARowStandsOnTheClipboard)
{
    constexpr int kLists = 100;
    std::shared_ptr<GuestList> last;
    for (int i = 1; i <= kLists; ++i) {
        last = offerNew({{"", "list " + std::to_string(i), "a"}});
        ASSERT_EQ(RecordingLog::count(5, "OLE Clipboard Set Done\n"), i);
    }
    EXPECT_EQ(paste(L"last"), kPasteWritten) << mOutput;
    expectPasted(*last, L"last");
}

TEST_F(PasteCollision, AListTakesThePlaceOfOneThatWasPasted)
{
    // both have an a.bin, whose slices have the same names
    const auto replaced = offerNew({{"", "a.bin", makeBytes(3 * kSlice)}});
    EXPECT_EQ(paste(L"replaced"), kPasteWritten) << mOutput;
    EXPECT_TRUE(replaced->waitForDelivery());
    const auto other = offerNew(kOtherFiles);
    EXPECT_EQ(paste(L"other"), kPasteWritten) << mOutput;
    expectPasted(*replaced, L"replaced");
    expectPasted(*other, L"other");
    EXPECT_EQ(other->requests(), 1);
}

TEST_F(PasteCollision, AnotherProgramsTextTakesThePlaceOfAList)
{
    const auto list = offerNew(kOtherFiles);
    mHost.listener().clear();
    copyText();
    EXPECT_TRUE(mHost.listener().waitForReports(1));
    expectNothingToPaste();
    EXPECT_EQ(list->requests(), 0);
    EXPECT_EQ(list->cancels(), 0);
    expectNextListWorks();
}

TEST_F(PasteCollision, AnotherProgramsTextDoesNotEndATransfer)
{
    const auto list = makeHeldList();
    ChildProcess child = startHeldPaste(list);
    mHost.listener().clear();
    copyText();
    EXPECT_TRUE(waitForEvents("clipboardFileCopy", 1));
    EXPECT_EQ(mHost.listener().events().front().message, "client copy file when some file is transferring, ignore");
    expectHeldPasteCompletes(child, *list);
    expectNothingToPaste();
    EXPECT_EQ(list->requests(), 1);
    expectNextListWorks();
}
