#include "data_object/transfer_data_sink.h"

#include <cstdint>
#include <exception>
#include <utility>

#include "base/log.h"
#include "data_object/slice_path.h"
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
    return MakeSlicePath(ClipboardEngine::Current().cacheDirectory(), transfer.Key(), transfer.SliceCount());
}

}  // namespace

TransferDataSink::TransferDataSink(std::shared_ptr<ListTransfer> transfer, std::function<void()> cancel)
    : mTransfer(std::move(transfer)), mCancel(std::move(cancel))
{
}

FileDataRequestCallback TransferDataSink::Make(std::shared_ptr<ListTransfer> transfer, std::function<void()> cancel)
{
    const auto sink = std::make_shared<TransferDataSink>(std::move(transfer), std::move(cancel));
    return [sink](const ClipfileDescription& file, unsigned char* data, unsigned long long size) {
        // The host may let the function go while it runs.
        // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): the copy keeps the sink
        const auto kept = sink;
        kept->TakeDelivery(file, data, size);
    };
}

void TransferDataSink::TakeDelivery(const ClipfileDescription& file, const unsigned char* data, unsigned long long size)
{
    const ListTransfer::SliceCloser closer(mTransfer);
    DataLockScope lock(mTransfer->mDataLock);
    const auto record = mTransfer->mState.RecordForDelivery();
    if (record == nullptr) {
        CLIP_LOG(kLogError, "mClipData is nullptr. maybe use canceled.");
        return;
    }
    if (isStalled()) {
        cancelForStall();
        return;
    }
    mTransfer->mState.TakeDelivery();
    storeDelivery(*record, file, data, size);
}

// Before there is a stream the heartbeat is that of another paste.
bool TransferDataSink::isStalled() const
{
    return mTransfer->mState.HasStream() && IsClipboardReadStalled();
}

void TransferDataSink::cancelForStall()
{
    CLIP_LOG(kLogInfo, "User canceled copy action");
    EventsInTurn events;
    events.raise([] { RaiseUserCancel(ClipboardEngine::Current()); });
    mTransfer->mState.DropDeliveries();  // the next one may come before the cancel does
    DataLockScope::runWithoutLock(mCancel);
    events.rethrow();
}

TransferFile& TransferDataSink::transferFor(const ClipfileDescription& file)
{
    TransferFile* const known = mTransfer->mFiles.Find(file);
    return known != nullptr ? *known : *mTransfer->mFiles.Add(MakeFileKey(file), static_cast<std::int64_t>(file.size));
}

void TransferDataSink::storeDelivery(ClipboardFileDataImpl& record, const ClipfileDescription& file,
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
             static_cast<int>(transfer.SliceCount()), static_cast<long long>(transfer.ReadySize()),
             static_cast<long long>(size), static_cast<long long>(transfer.FileSize()),
             static_cast<long long>(record.GetTransferredSize()),
             static_cast<long long>(mTransfer->mState.TotalFileSize()));
    if (position < kSliceSize && !transfer.IsComplete())
        return;
    finishSlice(record, transfer, file.fileName);
}

// Equality decides for the list too: a host that delivers more than its size never finishes it.
void TransferDataSink::finishSlice(const ClipboardFileDataImpl& record, TransferFile& transfer,
                                   const std::string& fileName)
{
    const std::string path = transfer.SlicePath();
    transfer.CloseSlice(path);
    CLIP_LOG(kLogInfo, "Download slice:%s finish, filesize=%lld. close this slice. notifySliceReady. transferFile:%p",
             path.c_str(), static_cast<long long>(transfer.ReadySize()), static_cast<void*>(&transfer));
    transfer.NotifySliceReady();
    EventsInTurn events;
    if (transfer.IsComplete()) {
        events.raise(
            [&transfer] { RaiseFileFinished(ClipboardEngine::Current(), transfer.ReadySize(), transfer.FileSize()); });
        CLIP_LOG(kLogInfo, "Download %s finish.", fileName.c_str());
    }
    // Empty files that come after the last byte report the end again.
    if (record.GetTransferredSize() == mTransfer->mState.TotalFileSize()) {
        mTransfer->mState.Finish();
        events.raise([this] {
            RaiseTransferFinished(ClipboardEngine::Current(),
                                  static_cast<std::int64_t>(mTransfer->mState.TotalFileSize()));
        });
        CLIP_LOG(kLogInfo, "all file download finish.");
    }
    events.rethrow();
}

}  // namespace sd::clip
