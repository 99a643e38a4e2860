// One file on its way from the guest: its slices on disk, written by one thread and read by another.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <exception>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "base/annotated_mutex.h"
#include "file_stream/slice_claim.h"

namespace sd::clip {

// The host's deliveries go to disk as a row of slice files, and a pasting application reads the finished ones in order
// while later ones are still arriving.
//
// Threads: one writer and one reader at the same time. Who has several of a kind lets them come one after the other.
// The two meet in mSlices and mSliceCount only: the writer changes them under mSliceMutex and may read them without
// it, the reader takes it whenever it reads them. What is called the writer's below is guarded by the request's data
// lock (file_request.h), what is called the reader's by the stream's (file_stream.h).
class TransferFile {
public:
    // @param key relative path and file name
    // @param fileSize bytes of the whole file
    // @param listNumber of the list that the file belongs to (slice_claim.h)
    TransferFile(std::string key, std::int64_t fileSize, std::uint64_t listNumber = NextListNumber());

    TransferFile(const TransferFile&) = delete;
    TransferFile& operator=(const TransferFile&) = delete;

    // ---- The writer ----
    // Opens the slice unless one is open. After a failure writes do nothing. A slice that a newer list writes is not
    // opened.
    // @return whether a slice is open
    bool OpenSlice(const std::string& path);

    // What OpenSlice was given last: the slice that is open, or could not be opened.
    const std::string& SlicePath() const
    {
        return mSlicePath;
    }

    // Counts the bytes as ready, whether or not the disk took them. What the disk took stands in the file when this
    // returns: nothing is written later.
    void Write(const unsigned char* data, unsigned long long size);

    // @return bytes in the open slice; negative after a failed open or write
    std::int64_t Position() const;

    // Finished slices, and so the index of the one being written. Unchecked and without the lock: nobody else changes
    // the count while the writer looks at it.
    std::int32_t SliceCount() const CLIP_NO_THREAD_SAFETY_ANALYSIS
    {
        return mSliceCount;
    }

    bool IsSliceOpen() const
    {
        return mSliceWriter->is_open();
    }

    // Bytes received.
    std::int64_t ReadySize() const
    {
        return mReadySize;
    }

    // Equality decides: more than the file's size never completes it.
    bool IsComplete() const
    {
        return mReadySize == mFileSize;
    }

    // Closes the slice and adds it to those that the reader may open.
    void CloseSlice(const std::string& path);

    // Whether the next delivery has to open the slice. Not after a failed write: the slice stays short.
    bool NeedsOpening() const
    {
        return !IsSliceOpen() && !mHasWriteFailed;
    }

    // Closes the slice, which the reader never gets: the transfer has ended.
    void AbandonSlice();

    // Wakes a reader that waits. It looks again, and sleeps on if there is no new slice. Any thread may call this.
    void NotifySliceReady();

    // ---- The reader ----
    // Gives up to `length` bytes, all of one slice. No bytes stand for the end of the file, and the call after that
    // begins the file again; they also stand for a slice that cannot be read. Waits if no slice is ready.
    // @return false if the wait for a slice was in vain
    bool Read(char* buffer, std::uint32_t length, std::uint32_t* count);

    // Waits up to 30 seconds for the slice that the reader needs next; nothing else ends or prolongs the wait.
    bool WaitSliceReady();

    // What the host's listener threw when it was told that a wait was in vain is kept until here: the transfer is
    // cancelled first.
    void RethrowReportFailure();

    // Lets the next Read begin at the first byte.
    void Restart();

    // Bytes handed out in this pass.
    std::int64_t CopiedSize() const
    {
        return mCopiedSize;
    }

    // Closes the slice that is being read.
    void GiveUpReader();

    // ---- Any thread ----
    // Relative path and file name.
    const std::string& Key() const
    {
        return mFileKey;
    }

    // Bytes of the whole file.
    std::int64_t FileSize() const
    {
        return mFileSize;
    }

    // Whether a newer list with a file of the same name has begun to write its slices. What was read before this was
    // asked is this file's if it is not so. Not undone.
    bool HasLostSlices() const
    {
        return mClaim.IsLost();
    }

private:
    friend class TestAccess;

    // What a Read finds before it reads.
    enum class Opening {
        kOpen,    // a slice, also one that can't be opened
        kAtEnd,   // no bytes, by right
        kInVain,  // no slice came
    };

    Opening openIfNeeded(std::uint32_t* count);
    Opening openNextSlice(std::uint32_t* count);
    bool hasCopiedAll() const;
    bool awaitNextSlice();
    bool hasNextSlice();
    void openFinishedSlice();
    bool readOpenSlice(char* buffer, std::uint32_t length, std::uint32_t* count);
    bool hasMoreInSlice();
    void giveUpWaiting(std::uint32_t* count);

    // Their names and their order are known outside: they stay.
    const std::string mFileKey;
    std::vector<std::string> mSlices CLIP_GUARDED_BY(mSliceMutex);  // paths of finished slices
    const std::int64_t mFileSize;
    std::int64_t mReadySize CLIP_UNGUARDED("the writer's") = 0;  // bytes received
    // One for the record's whole life, closed between slices.
    std::unique_ptr<std::ofstream> mSliceWriter CLIP_UNGUARDED("the writer's");
    std::int32_t mSliceCount CLIP_GUARDED_BY(mSliceMutex) = 0;
    std::unique_ptr<std::ifstream> mSliceReader CLIP_UNGUARDED("the reader's");  // none between slices
    std::int64_t mCopiedSize CLIP_UNGUARDED("the reader's") = 0;                 // bytes handed out in this pass
    std::int32_t mReadSliceIndex CLIP_UNGUARDED("the reader's") = 0;  // position in mSlices of the slice to open next
    std::string mCurrentSlice CLIP_UNGUARDED("the reader's");         // path of the slice being read
    Mutex mSliceMutex;  // held for a look or a change, never during a call to disk or host
    std::condition_variable mSliceReady CLIP_UNGUARDED("safe by itself");

    SliceClaim mClaim CLIP_UNGUARDED("safe by itself");
    std::string mSlicePath CLIP_UNGUARDED("the writer's");
    bool mHasOpened CLIP_UNGUARDED("the writer's") = false;       // this slice
    bool mHasWriteFailed CLIP_UNGUARDED("the writer's") = false;  // of this slice
    std::int64_t mSliceSize CLIP_UNGUARDED("the writer's") = 0;   // bytes given to the open slice
    // Of the finished slices, in bytes; what a failed write kept out is counted. Negative if never opened.
    std::vector<std::int64_t> mSliceSizes CLIP_GUARDED_BY(mSliceMutex);
    // What mSliceSizes tells of the slice being read.
    std::int64_t mCurrentSliceSize CLIP_UNGUARDED("the reader's") = 0;
    std::int64_t mReadOfSlice CLIP_UNGUARDED("the reader's") = 0;      // bytes that came from it
    std::exception_ptr mReportFailure CLIP_UNGUARDED("the reader's");  // null, mostly
};

}  // namespace sd::clip
