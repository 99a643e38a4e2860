// The steps of a transfer, without a request.
#include "data_object/transfer_state.h"

#include <gtest/gtest.h>

#include <memory>

using namespace sd::clip;

namespace {

std::shared_ptr<ClipboardFileDataImpl> makeRecord()
{
    ClipfileDescription file;
    file.fileName = "a.txt";
    file.size = 7;
    ClipfileDescription other;
    other.fileName = "b.txt";
    other.size = 5;
    auto record = std::make_shared<ClipboardFileDataImpl>();
    record->SetFiles({file, other});
    return record;
}

class TransferStateTest : public testing::Test {
protected:
    TransferStateTest()
    {
        mState.SetRecord(mRecord);
    }

    // Steps that would show a transfer that is alive.
    void tryToGoOn()
    {
        mState.TakeDelivery();
        mState.Finish();
    }

    bool beginCancel()
    {
        std::shared_ptr<ClipboardData> record;
        return mState.BeginCancel(record);
    }

    const std::shared_ptr<ClipboardFileDataImpl> mRecord = makeRecord();
    TransferState mState;
};

}  // namespace

TEST_F(TransferStateTest, ANewTransferIsIdleAndKnowsItsSizes)
{
    EXPECT_EQ(mState.State(), RequestFileState::kRequestIdle);
    EXPECT_EQ(mState.TotalFileSize(), 12u);
    EXPECT_FALSE(mState.IsUnderWay());
    EXPECT_FALSE(mState.IsRequested());
    EXPECT_FALSE(mState.HasStream());
    EXPECT_FALSE(mState.IsCut());
    EXPECT_FALSE(mState.DropsDeliveries());
    EXPECT_EQ(mState.RecordForDelivery(), mRecord);
}

TEST_F(TransferStateTest, TheOrdinaryWayEndsFinishedAndNeedsNoNewRequest)
{
    mState.BeginRequest(mRecord->GetFiles()[1]);
    EXPECT_EQ(mState.State(), RequestFileState::kRequesting);
    EXPECT_EQ(mState.RequestedFile().fileName, "b.txt");
    EXPECT_TRUE(mState.IsUnderWay());
    mState.TakeDelivery();
    EXPECT_EQ(mState.State(), RequestFileState::kTransfering);
    mState.Finish();
    EXPECT_EQ(mState.State(), RequestFileState::kRequestFinished);
    EXPECT_FALSE(mState.IsUnderWay());
    EXPECT_TRUE(mState.IsRequested());
}

TEST_F(TransferStateTest, AFailedRequestCanBeMadeAgain)
{
    mState.BeginRequest(mRecord->GetFiles()[0]);
    mState.FailRequest();
    EXPECT_EQ(mState.State(), RequestFileState::kRequestFailed);
    EXPECT_FALSE(mState.IsRequested());
    EXPECT_EQ(mState.RecordForDelivery(), mRecord);
}

TEST_F(TransferStateTest, WhileTheHostIsAskedTheTransferIsUnderWay)
{
    {
        const TransferState::StartingScope starting(mState);
        EXPECT_TRUE(mState.IsUnderWay());
        EXPECT_EQ(mState.State(), RequestFileState::kRequestIdle);
    }
    EXPECT_FALSE(mState.IsUnderWay());
}

TEST_F(TransferStateTest, ACancelIsBegunOnceAndGetsTheRecord)
{
    mState.BeginRequest(mRecord->GetFiles()[0]);
    std::shared_ptr<ClipboardData> record;
    EXPECT_TRUE(mState.BeginCancel(record));
    EXPECT_EQ(record, mRecord);
    EXPECT_FALSE(beginCancel());
    EXPECT_EQ(mState.State(), RequestFileState::kRequesting) << "until the host's function has run";
    EXPECT_EQ(mState.Record(), mRecord);
    mState.EndCancel();
    EXPECT_EQ(mState.State(), RequestFileState::kRequestFailed);
    EXPECT_FALSE(beginCancel());
}

TEST_F(TransferStateTest, NothingLeadsOutOfACancel)
{
    mState.BeginRequest(mRecord->GetFiles()[0]);
    beginCancel();
    EXPECT_EQ(mState.RecordForDelivery(), nullptr);
    mState.EndCancel();
    tryToGoOn();
    EXPECT_EQ(mState.State(), RequestFileState::kRequestFailed);
}

TEST_F(TransferStateTest, DeliveriesAreDroppedFromASilenceOn)
{
    mState.BeginRequest(mRecord->GetFiles()[0]);
    mState.DropDeliveries();
    EXPECT_TRUE(mState.DropsDeliveries());
    EXPECT_EQ(mState.RecordForDelivery(), nullptr);
    tryToGoOn();
    EXPECT_EQ(mState.State(), RequestFileState::kRequesting);
    EXPECT_TRUE(beginCancel()) << "the cancel is still to come";
}

TEST_F(TransferStateTest, AStrayDeliveryAfterTheEndEndsNothing)
{
    mState.BeginRequest(mRecord->GetFiles()[0]);
    tryToGoOn();
    mState.DropDeliveries();
    EXPECT_FALSE(mState.DropsDeliveries());
    EXPECT_EQ(mState.RecordForDelivery(), mRecord);
}

TEST_F(TransferStateTest, ACutDropsDeliveriesAndTheCancelStillComes)
{
    mState.BeginRequest(mRecord->GetFiles()[0]);
    mState.Cut();
    EXPECT_TRUE(mState.IsCut());
    EXPECT_TRUE(mState.DropsDeliveries());
    EXPECT_TRUE(beginCancel());
}

TEST_F(TransferStateTest, AStreamLearnsOfAnEarlierFailure)
{
    EXPECT_FALSE(mState.NoteStream());
    EXPECT_TRUE(mState.HasStream());
    mState.ReportFailure();
    EXPECT_TRUE(mState.NoteStream());
}

TEST_F(TransferStateTest, ATakenRecordIsGone)
{
    EXPECT_EQ(mState.TakeRecord(), mRecord);
    EXPECT_EQ(mState.Record(), nullptr);
    EXPECT_EQ(mState.RecordForDelivery(), nullptr);
    EXPECT_EQ(mState.TakeRecord(), nullptr);
    EXPECT_EQ(mState.TotalFileSize(), 12u) << "what is on disk keeps its sums";
}

TEST_F(TransferStateTest, ARecordOfAnotherKindTakesNoDeliveries)
{
    const auto text = std::make_shared<ClipboardTextDataImpl>();
    TransferState state;
    state.SetRecord(text);
    EXPECT_EQ(state.Record(), text);
    EXPECT_EQ(state.RecordForDelivery(), nullptr);
    EXPECT_EQ(state.TotalFileSize(), 0u);
}
