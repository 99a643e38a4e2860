#include "data_object/file_request.h"

#include <algorithm>
#include <utility>

#include "base/exception_text.h"
#include "base/log.h"
#include "data_object/data_lock.h"
#include "data_object/transfer_data_sink.h"
#include "file_stream/file_stream.h"
#include "file_utilities/create_dir.h"
#include "support/clipboard_engine.h"
#include "support/clipboard_events.h"

namespace sd::clip {

FileRequest::FileRequest() = default;
FileRequest::~FileRequest() = default;

void FileRequest::SetClipboardData(std::shared_ptr<ClipboardData> data)
{
    mTransfer->mState.SetRecord(std::move(data));
}

std::shared_ptr<ClipboardData> FileRequest::GetClipboardData() const
{
    return mTransfer->mState.Record();
}

void FileRequest::SetStream(FileStream* stream)
{
    Microsoft::WRL::ComPtr<FileStream> replaced = stream;  // an earlier one goes after the lock
    {
        LockScope lock(mLock);
        mFileStream.Swap(replaced);
    }
    if (stream != nullptr && mTransfer->mState.NoteStream())
        stream->Cancel();
}

Microsoft::WRL::ComPtr<FileStream> FileRequest::GetStream() const
{
    LockScope lock(mLock);
    return mFileStream;
}

bool FileRequest::startRequestFileData(const ClipfileDescription& file, bool& rejected)
{
    rejected = false;
    // The ordinary road of every later file does not wait for a delivery: the reader would fall silent meanwhile, and
    // with small files it would wait for one delivery after the other.
    if (mTransfer->mState.IsRequested()) {
        declineRequest(file);
        return false;
    }
    const ListTransfer::SliceCloser closer(mTransfer);
    DataLockScope lock(mTransfer->mDataLock);
    if (mTransfer->mState.IsRequested()) {
        declineRequest(file);
        return false;
    }
    logRequest(file);
    const auto record = std::dynamic_pointer_cast<ClipboardFileData>(GetClipboardData());
    if (record == nullptr)
        return false;
    bool wanted = false;
    bool requested = false;
    {
        const TransferState::StartingScope starting(mTransfer->mState);
        wanted = isPasteWanted(*record);
        requested = wanted && requestFromHost(file, *record);
    }
    if (!wanted) {
        CLIP_LOG(kLogInfo, "Abort ole clipboard paste due to APP rejection.");
        DataLockScope::runWithoutLock(
            [self = shared_from_this()] { ClipboardEngine::Current().resetOleclipboardOf(*self); });
        rejected = true;
    }
    return requested;
}

void FileRequest::logRequest(const ClipfileDescription& file) const
{
    CLIP_LOG(kLogInfo, "startRequestFileData:%s mRequestFileState:%d", file.fileName.c_str(),
             static_cast<int>(mTransfer->mState.State()));
}

void FileRequest::declineRequest(const ClipfileDescription& file) const
{
    logRequest(file);
    CLIP_LOG(kLogInfo, "File is requesting or finished, dont need start request again!");
}

// Asked anew for each attempt that is not under way yet. No function means consent.
bool FileRequest::isPasteWanted(ClipboardFileData& record)
{
    auto* known = dynamic_cast<ClipboardFileDataImpl*>(&record);
    const OLEClipboardPasteFunc paste = known != nullptr ? known->GetOLEClipboardPasteFunc() : nullptr;
    return !paste || paste();
}

bool FileRequest::requestFromHost(const ClipfileDescription& file, ClipboardFileData& record)
{
    RaiseTransferStarted(ClipboardEngine::Current());
    mTransfer->mState.BeginRequest(file);
    try {
        return callRequestFunction(file, record);
    } catch (...) {
        mTransfer->mState.FailRequest();  // or every later paste and list would be refused
        throw;
    }
}

bool FileRequest::callRequestFunction(const ClipfileDescription& file, ClipboardFileData& record)
{
    createDir(ClipboardEngine::Current().cacheDirectory());  // a failure shows when the first slice can't be opened
    const FileRequestFunc request = record.GetFileRequestFunc();
    if (!request) {
        CLIP_LOG(kLogError, "request file data func is null");
        mTransfer->mState.FailRequest();
        return false;
    }
    request(file, MakeSink());
    return true;
}

FileDataRequestCallback FileRequest::MakeSink()
{
    return TransferDataSink::Make(mTransfer, [self = shared_from_this()] { self->CancelRemoteTransfer(); });
}

TransferFile* FileRequest::GetTransferFile(const ClipfileDescription& file)
{
    return mTransfer->mFiles.Find(file);
}

RequestFileState FileRequest::GetRequestFileState()
{
    return mTransfer->mState.State();
}

bool FileRequest::IsUnderWay() const
{
    return mTransfer->mState.IsUnderWay();
}

bool FileRequest::IsDataTransfering()
{
    const RequestFileState state = mTransfer->mState.State();
    CLIP_LOG(kLogInfo, "RequestFileState:%d", static_cast<int>(state));
    return TransferState::IsTransfering(state);
}

// The host's function runs without any lock of ours; meanwhile deliveries are dropped, and nobody cancels again.
void FileRequest::CancelRemoteTransfer()
{
    if (!IsDataTransfering())
        return;
    std::shared_ptr<ClipboardData> data;
    if (!mTransfer->mState.BeginCancel(data))
        return;
    CLIP_LOG(kLogInfo, "Cancel remote file request");
    mTransfer->CloseSlicesIfEnded();
    callCancelFunction(dynamic_cast<ClipboardFileDataImpl*>(data.get()));
    mTransfer->mState.EndCancel();
    if (!mTransfer->mState.IsCut())
        ClipboardEngine::Current().resetOleclipboardOf(*this);
    mTransfer->mState.TakeRecord();
}

// Called at an object's end, and when a data lock is released: neither can hand an exception to anyone.
void FileRequest::callCancelFunction(ClipboardFileDataImpl* record) const
{
    try {
        if (const FileCancelFunc cancel = record != nullptr ? record->GetFileCancelFunc() : nullptr)
            cancel(descriptionForCancel());
    } catch (...) {
        CLIP_LOG(kLogError, "The host's cancel function failed: %s", DescribeException());
    }
}

// What the stream is on; before there is a stream, what was asked for.
ClipfileDescription FileRequest::descriptionForCancel() const
{
    const auto stream = GetStream();
    const auto current = stream ? stream->GetFileDescription() : nullptr;
    return current != nullptr ? static_cast<const ClipfileDescription&>(*current) : mTransfer->mState.RequestedFile();
}

void FileRequest::NotifyFileTransferFailed()
{
    CLIP_LOG(kLogInfo, "Cancel file stream wait.");
    mTransfer->mState.ReportFailure();
    // It waits for a read that runs on another thread, and that may come to wait for the data lock.
    if (const auto stream = GetStream())
        DataLockScope::runWithoutLock([stream] { stream->Cancel(); });
}

void FileRequest::Cut()
{
    {
        DataLockScope lock(mTransfer->mDataLock);  // a delivery that is being taken ends first
        mTransfer->mState.Cut();
    }
    mTransfer->CloseSlicesIfEnded();
    CancelRemoteTransfer();
    const std::shared_ptr<ClipboardData> record = mTransfer->mState.TakeRecord();  // goes after the stream
    Microsoft::WRL::ComPtr<FileStream> stream;
    {
        LockScope lock(mLock);
        mFileStream.Swap(stream);
    }
    if (stream)
        stream->Disconnect();
}

bool FileRequest::OwnsSlices(const SliceDigest& digest)
{
    const auto contains = [this, &digest]() CLIP_REQUIRES(mLock) {
        return std::binary_search(mSliceDigests->begin(), mSliceDigests->end(), digest);
    };
    {
        LockScope lock(mLock);
        if (mSliceDigests)
            return contains();
    }
    std::vector<SliceDigest> digests = digestsOfSlices();
    LockScope lock(mLock);
    if (!mSliceDigests)
        mSliceDigests = std::move(digests);
    return contains();
}

// After a cancel the record is gone, and no other slices come than those that are there.
std::vector<SliceDigest> FileRequest::digestsOfSlices()
{
    std::vector<SliceDigest> digests;
    if (const auto record = std::dynamic_pointer_cast<ClipboardFileDataImpl>(GetClipboardData())) {
        for (const ClipfileDescription& file : record->GetFiles())
            digests.push_back(DigestOfKey(MakeFileKey(file)));
    } else {
        for (const std::string& key : mTransfer->mFiles.Keys())
            digests.push_back(DigestOfKey(key));
    }
    std::sort(digests.begin(), digests.end());
    return digests;
}

}  // namespace sd::clip
