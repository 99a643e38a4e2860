// How far the transfer of one list is, and how it ends.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "base/annotated_mutex.h"
#include "data_object/file_transfer.h"
#include "sd/clip/clipboard_data.h"

namespace sd::clip {

// One function for each step. What each of them sets, beside the state:
//
// | step             | who, when                                          | state            | facts                  |
// |------------------|----------------------------------------------------|------------------|------------------------|
// | SetRecord        | the engine, before the list goes on the clipboard  |                  | record, total size     |
// | StartingScope    | the request, around the host's veto and request    |                  | is starting            |
// | BeginRequest     | the request, before it asks the host               | kRequesting      | requested file         |
// | FailRequest      | the request, if the host could not be asked        | kRequestFailed   |                        |
// | NoteStream       | the data object, at the first "FileContents"       |                  | has stream             |
// | TakeDelivery     | the sink, for each delivery                        | kTransfering     |                        |
// | Finish           | the sink, when the sums meet                       | kRequestFinished |                        |
// | DropDeliveries   | the sink, at a reader's silence, before the cancel |                  | drops deliveries       |
// | BeginCancel      | whoever cancels, before the host's cancel function |                  | the same; cancel runs  |
// | EndCancel        | the same, after the host's cancel function         | kRequestFailed   |                        |
// | ReportFailure    | the host, through the engine                       |                  | is failure reported    |
// | Cut              | the data object's end, under the data lock         |                  | drops deliveries, cut  |
// | TakeRecord       | the end of a cancel and of a cut                   |                  | no record              |
//
// Nothing leads out of a transfer that drops deliveries: FailRequest, TakeDelivery and Finish leave its state, since a
// delivery that is being taken meanwhile must not make it look alive. No fact but "is starting" is ever undone.
//
// Threads: any. Its lock is a leaf.
class TransferState {
public:
    // Stands around the host's paste and request functions, and ends with them also when one of them throws. Under the
    // data lock.
    class StartingScope {
    public:
        explicit StartingScope(TransferState& state) : mStarting(state.mStarting)
        {
            mStarting = true;
        }
        ~StartingScope()
        {
            mStarting = false;
        }
        StartingScope(const StartingScope&) = delete;
        StartingScope& operator=(const StartingScope&) = delete;

    private:
        std::atomic<bool>& mStarting;
    };

    TransferState() = default;
    TransferState(const TransferState&) = delete;
    TransferState& operator=(const TransferState&) = delete;

    // ---- The steps ----
    // Once, before anybody asks for files.
    void SetRecord(std::shared_ptr<ClipboardData> record);

    // If there is no memory for the description nothing changes: the host is not asked, and a later paste must ask.
    void BeginRequest(const ClipfileDescription& file);
    void FailRequest();

    // @return whether the host has reported a failure already
    bool NoteStream();

    void TakeDelivery();
    void Finish();

    // Does nothing for a transfer that is not under way: a stray delivery after the end ends nothing.
    void DropDeliveries();

    // @param record set to the record, which may be null
    // @return false if somebody has cancelled before: the host's cancel function is called once
    bool BeginCancel(std::shared_ptr<ClipboardData>& record);
    void EndCancel();

    void ReportFailure();
    void Cut();

    // @return the record, which is no longer here. Let it go without a lock: its functions are the host's
    std::shared_ptr<ClipboardData> TakeRecord();

    // ---- The questions ----
    RequestFileState State() const
    {
        return mState;
    }

    // Whether a list in that state is requested or on its way.
    static bool IsTransfering(RequestFileState state);

    // Whether the host was asked and has not delivered everything, or is being asked right now.
    bool IsUnderWay() const;

    // Whether the host need not be asked (again).
    bool IsRequested() const;

    bool HasStream() const
    {
        return mHasStream;
    }

    bool DropsDeliveries() const;

    bool IsCut() const
    {
        return mIsCut;
    }

    // @return null before it was set and after it was taken
    std::shared_ptr<ClipboardData> Record() const;

    // @return null for another kind of record too, and when deliveries are dropped
    std::shared_ptr<ClipboardFileDataImpl> RecordForDelivery() const;

    // What the request was made with.
    ClipfileDescription RequestedFile() const;

    // Bytes of all files of the list.
    std::uint64_t TotalFileSize() const
    {
        return mTotalFileSize;
    }

private:
    friend class TestAccess;

    void setUnlessEnding(RequestFileState state);

    mutable Mutex mLock;
    std::shared_ptr<ClipboardData> mRecord CLIP_GUARDED_BY(mLock);
    ClipfileDescription mRequestedFile CLIP_GUARDED_BY(mLock);
    bool mDropsDeliveries CLIP_GUARDED_BY(mLock) = false;
    bool mCancelRuns CLIP_GUARDED_BY(mLock) = false;
    bool mIsFailureReported CLIP_GUARDED_BY(mLock) = false;
    std::uint64_t mTotalFileSize CLIP_UNGUARDED("constant after SetRecord") = 0;
    std::atomic<RequestFileState> mState{RequestFileState::kRequestIdle};  // written under mLock
    std::atomic<bool> mStarting{false};                                    // written under the data lock
    std::atomic<bool> mHasStream{false};                                   // before, the heartbeat is another paste's
    std::atomic<bool> mIsCut{false};                                       // the clipboard does not hold the object
};

}  // namespace sd::clip
