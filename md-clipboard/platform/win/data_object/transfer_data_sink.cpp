// The sink: what becomes of the file data that the host delivers.
#include <exception>

#include "base/log.h"
#include "data_object/data_lock.h"
#include "data_object/file_request.h"
#include "data_object/slice_path.h"
#include "file_stream/file_stream.h"
#include "file_stream/read_heartbeat.h"
#include "file_stream/transfer_file.h"
#include "support/clipboard_engine.h"
#include "support/clipboard_events.h"

namespace sd::clip {

namespace {

// A slice ends with the first delivery that takes it this far. Deliveries are never split.
constexpr std::int64_t kSliceSize = 1048576;

// Raises events whose outcome changes nothing of the transfer. What the listener throws first is kept until the work
// is done.
class EventsInTurn {
public:
    template <class Raise>
    void raise(Raise raiseIt)
    {
        try {
            raiseIt();
        } catch (...) {
            if (!mThrown)
                mThrown = std::current_exception();
        }
    }

    void rethrow() const
    {
        if (mThrown)
            std::rethrow_exception(mThrown);
    }

private:
    std::exception_ptr mThrown;
};

// Of the slice that is open, or that comes next.
std::string pathOfSlice(const TransferFile& transfer)
{
    return MakeSlicePath(ClipboardEngine::Current().cacheDirectory(), transfer.mFileKey, transfer.SliceCount());
}

}  // namespace

FileDataRequestCallback FileRequest::MakeSink()
{
    // The host may keep it as long as it likes: what it delivers after the end is dropped.
    return [self = shared_from_this()](const ClipfileDescription& file, unsigned char* data, unsigned long long size) {
        self->TakeDelivery(file, data, size);
    };
}

void FileRequest::TakeDelivery(const ClipfileDescription& file, unsigned char* data, unsigned long long size)
{
    const SliceCloser closer(shared_from_this());
    DataLockScope lock(mDataLock);
    const auto record = mState.RecordForDelivery();
    if (record == nullptr) {
        CLIP_LOG(kLogError, "mClipData is nullptr. maybe use canceled.");
        return;
    }
    if (isStalled()) {
        cancelForStall();
        return;
    }
    mState.TakeDelivery();
    storeDelivery(*record, file, data, size);
}

// Before there is a stream the heartbeat is that of another paste.
bool FileRequest::isStalled() const
{
    return mState.HasStream() && IsClipboardReadStalled();
}

void FileRequest::cancelForStall()
{
    CLIP_LOG(kLogInfo, "User canceled copy action");
    EventsInTurn events;
    events.raise([] { RaiseUserCancel(ClipboardEngine::Current()); });
    mState.DropDeliveries();  // the next one may come before the cancel does
    DataLockScope::runWithoutLock([self = shared_from_this()] { self->CancelRemoteTransfer(); });
    events.rethrow();
}

TransferFile& FileRequest::transferFor(const ClipfileDescription& file)
{
    TransferFile* const known = GetTransferFile(file);
    return known != nullptr ? *known : *mTransferFiles.Add(MakeFileKey(file), static_cast<std::int64_t>(file.size));
}

void FileRequest::storeDelivery(ClipboardFileDataImpl& record, const ClipfileDescription& file,
                                const unsigned char* data, unsigned long long size)
{
    TransferFile& transfer = transferFor(file);
    if (transfer.NeedsOpening()) {
        const std::string path = pathOfSlice(transfer);  // once for each slice: it takes a hash
        // A failure stops nothing here: the sums go on, and the reader finds the slice missing.
        const bool isOpen = transfer.OpenSlice(path);
        CLIP_LOG(kLogInfo, "File(%s) (%s) is open:%d", path.c_str(), file.fileName.c_str(), isOpen ? 1 : 0);
    }
    transfer.Write(data, size);
    record.SetTransferredSize(record.GetTransferredSize() + size);
    const std::int64_t position = transfer.Position();
    CLIP_LOG(kLogInfo, "Download: %s:%d(%lld, %lld, %lld) all:(%lld,%lld)", file.fileName.c_str(),
             static_cast<int>(transfer.SliceCount()), static_cast<long long>(transfer.mReadySize),
             static_cast<long long>(size), static_cast<long long>(transfer.mFileSize),
             static_cast<long long>(record.GetTransferredSize()), static_cast<long long>(GetTotalFileSize()));
    if (position < kSliceSize && transfer.mReadySize != transfer.mFileSize)
        return;
    finishSlice(record, transfer, file.fileName);
}

// Equality decides: a host that delivers more than a file's size never finishes it.
void FileRequest::finishSlice(const ClipboardFileDataImpl& record, TransferFile& transfer, const std::string& fileName)
{
    const std::string path = transfer.SlicePath();
    transfer.CloseSlice(path);
    CLIP_LOG(kLogInfo, "Download slice:%s finish, filesize=%lld. close this slice. notifySliceReady. transferFile:%p",
             path.c_str(), static_cast<long long>(transfer.mReadySize), static_cast<void*>(&transfer));
    transfer.NotifySliceReady();
    EventsInTurn events;
    if (transfer.mReadySize == transfer.mFileSize) {
        events.raise(
            [&transfer] { RaiseFileFinished(ClipboardEngine::Current(), transfer.mReadySize, transfer.mFileSize); });
        CLIP_LOG(kLogInfo, "Download %s finish.", fileName.c_str());
    }
    // Empty files that come after the last byte report the end again.
    if (record.GetTransferredSize() == GetTotalFileSize()) {
        mState.Finish();
        events.raise([this] {
            RaiseTransferFinished(ClipboardEngine::Current(), static_cast<std::int64_t>(GetTotalFileSize()));
        });
        CLIP_LOG(kLogInfo, "all file download finish.");
    }
    events.rethrow();
}

}  // namespace sd::clip
