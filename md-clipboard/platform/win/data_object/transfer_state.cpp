#include "data_object/transfer_state.h"

#include <utility>

namespace sd::clip {

namespace {

std::uint64_t sumSizes(ClipboardData* data)
{
    std::uint64_t sum = 0;
    if (auto* files = dynamic_cast<ClipboardFileData*>(data)) {
        for (const ClipfileDescription& file : files->GetFiles())
            sum += file.size;
    }
    return sum;
}

}  // namespace

void TransferState::SetRecord(std::shared_ptr<ClipboardData> record)
{
    mTotalFileSize = sumSizes(record.get());
    LockScope lock(mLock);
    mRecord.swap(record);
}

void TransferState::BeginRequest(const ClipfileDescription& file)
{
    LockScope lock(mLock);
    mRequestedFile = file;
    mState = RequestFileState::kRequesting;
}

void TransferState::FailRequest()
{
    setUnlessEnding(RequestFileState::kRequestFailed);
}

bool TransferState::NoteStream()
{
    LockScope lock(mLock);
    mHasStream = true;
    return mIsFailureReported;
}

void TransferState::TakeDelivery()
{
    setUnlessEnding(RequestFileState::kTransfering);
}

void TransferState::Finish()
{
    setUnlessEnding(RequestFileState::kRequestFinished);
}

void TransferState::DropDeliveries()
{
    if (!IsUnderWay())
        return;
    LockScope lock(mLock);
    mDropsDeliveries = true;
}

bool TransferState::BeginCancel(std::shared_ptr<ClipboardData>& record)
{
    LockScope lock(mLock);
    if (mCancelRuns)
        return false;
    mDropsDeliveries = true;
    mCancelRuns = true;
    record = mRecord;
    return true;
}

void TransferState::EndCancel()
{
    LockScope lock(mLock);
    mState = RequestFileState::kRequestFailed;
}

void TransferState::ReportFailure()
{
    LockScope lock(mLock);
    mIsFailureReported = true;
}

void TransferState::Cut()
{
    LockScope lock(mLock);
    mDropsDeliveries = true;
    mIsCut = true;
}

std::shared_ptr<ClipboardData> TransferState::TakeRecord()
{
    LockScope lock(mLock);
    return std::exchange(mRecord, nullptr);
}

bool TransferState::IsTransfering(RequestFileState state)
{
    return state == RequestFileState::kRequesting || state == RequestFileState::kTransfering;
}

bool TransferState::IsUnderWay() const
{
    return mStarting || IsTransfering(mState);
}

bool TransferState::IsRequested() const
{
    return IsUnderWay() || mState == RequestFileState::kRequestFinished;
}

bool TransferState::DropsDeliveries() const
{
    LockScope lock(mLock);
    return mDropsDeliveries;
}

std::shared_ptr<ClipboardData> TransferState::Record() const
{
    LockScope lock(mLock);
    return mRecord;
}

std::shared_ptr<ClipboardFileDataImpl> TransferState::RecordForDelivery() const
{
    LockScope lock(mLock);
    return mDropsDeliveries ? nullptr : std::dynamic_pointer_cast<ClipboardFileDataImpl>(mRecord);
}

ClipfileDescription TransferState::RequestedFile() const
{
    LockScope lock(mLock);
    return mRequestedFile;
}

void TransferState::setUnlessEnding(RequestFileState state)
{
    LockScope lock(mLock);
    if (!mDropsDeliveries)
        mState = state;
}

}  // namespace sd::clip
