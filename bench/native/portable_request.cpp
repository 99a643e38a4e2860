#include "portable_request.h"

#include <stdexcept>
#include <utility>

#include "base/log.h"
#include "data_object/slice_path.h"
#include "file_stream/read_heartbeat.h"

using namespace sd::clip;

namespace {

constexpr std::int64_t kSliceSize = 1048576;

std::uint64_t sumSizes(ClipboardFileData& list)
{
    std::uint64_t sum = 0;
    for (const ClipfileDescription& file : list.GetFiles())
        sum += file.size;
    return sum;
}

}  // namespace

PortableRequest::PortableRequest(std::shared_ptr<ClipboardFileData> record, std::shared_ptr<void> stream,
                                 std::string cacheDirectory)
    : mCacheDirectory(std::move(cacheDirectory)),
      mTotalFileSize(sumSizes(*record)),
      mRecord(std::move(record)),
      mStream(std::move(stream))
{
}

FileDataRequestCallback PortableRequest::MakeSink()
{
    return [self = shared_from_this()](const ClipfileDescription& file, unsigned char* data, unsigned long long size) {
        self->takeDelivery(file, data, size);
    };
}

TransferFile* PortableRequest::GetTransferFile(const ClipfileDescription& file) const
{
    return mTransferFiles.Find(file);
}

void PortableRequest::takeDelivery(const ClipfileDescription& file, const unsigned char* data, unsigned long long size)
{
    const auto self = shared_from_this();
    {
        DataLockScope lock(mDataLock);
        const auto record = recordForDelivery();
        if (record == nullptr || isStalled())
            throw std::logic_error("the delivery is not taken");
        setState(RequestFileState::kTransfering);
        storeDelivery(*record, file, data, size);
    }
    self->closeSlicesIfEnded();
}

std::shared_ptr<ClipboardFileDataImpl> PortableRequest::recordForDelivery() const
{
    LockScope lock(mStateLock);
    return mCancelling ? nullptr : std::dynamic_pointer_cast<ClipboardFileDataImpl>(mRecord);
}

std::shared_ptr<void> PortableRequest::stream() const
{
    LockScope lock(mStateLock);
    return mStream;
}

bool PortableRequest::isStalled() const
{
    return stream() != nullptr && IsClipboardReadStalled();
}

void PortableRequest::setState(RequestFileState state)
{
    LockScope lock(mStateLock);
    if (!mCancelling)
        mState = state;
}

TransferFile& PortableRequest::transferFor(const ClipfileDescription& file)
{
    TransferFile* const known = GetTransferFile(file);
    return known != nullptr ? *known : *mTransferFiles.Add(MakeFileKey(file), static_cast<std::int64_t>(file.size));
}

std::string PortableRequest::pathOfSlice(const TransferFile& transfer) const
{
    return MakeSlicePath(mCacheDirectory, transfer.mFileKey, transfer.SliceCount());
}

void PortableRequest::storeDelivery(ClipboardFileDataImpl& record, const ClipfileDescription& file,
                                    const unsigned char* data, unsigned long long size)
{
    TransferFile& transfer = transferFor(file);
    if (transfer.NeedsOpening()) {
        const std::string path = pathOfSlice(transfer);
        const bool isOpen = transfer.OpenSlice(path);
        CLIP_LOG(kLogInfo, "File(%s) (%s) is open:%d", path.c_str(), file.fileName.c_str(), isOpen ? 1 : 0);
    }
    transfer.Write(data, size);
    record.SetTransferredSize(record.GetTransferredSize() + size);
    const std::int64_t position = transfer.Position();
    CLIP_LOG(kLogInfo, "Download: %s:%d(%lld, %lld, %lld) all:(%lld,%lld)", file.fileName.c_str(),
             static_cast<int>(transfer.SliceCount()), static_cast<long long>(transfer.mReadySize),
             static_cast<long long>(size), static_cast<long long>(transfer.mFileSize),
             static_cast<long long>(record.GetTransferredSize()), static_cast<long long>(mTotalFileSize));
    if (position < kSliceSize && transfer.mReadySize != transfer.mFileSize)
        return;
    finishSlice(record, transfer, transfer.SlicePath());
}

// Without the file's and the list's end, whose events need the engine.
void PortableRequest::finishSlice(const ClipboardFileDataImpl& record, TransferFile& transfer,
                                  const std::string& path) const
{
    transfer.CloseSlice(path);
    CLIP_LOG(kLogInfo, "Download slice:%s finish, filesize=%lld. close this slice. notifySliceReady. transferFile:%p",
             path.c_str(), static_cast<long long>(transfer.mReadySize), static_cast<void*>(&transfer));
    transfer.NotifySliceReady();
    if (transfer.mReadySize == transfer.mFileSize || record.GetTransferredSize() == mTotalFileSize)
        throw std::logic_error("a file's end is not counted");
}

void PortableRequest::closeSlicesIfEnded()
{
    LockScope lock(mStateLock);
    if (mCancelling)
        throw std::logic_error("the transfer has ended");
}
