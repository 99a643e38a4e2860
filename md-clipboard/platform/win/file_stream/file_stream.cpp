#include "file_stream/file_stream.h"

#include <utility>

#include "base/log.h"
#include "file_stream/read_heartbeat.h"
#include "file_stream/reading_mark.h"
#include "file_stream/shared_stream_open.h"
#include "file_stream/stream_lock_scope.h"
#include "file_stream/transfer_file.h"
#include "file_utilities/encoding.h"
#include "file_utilities/file_names.h"
#include "support/without_exceptions.h"

namespace sd::clip {

namespace {

const char* nameOf(const DetailFileDescription* description)
{
    return description ? description->fileName.c_str() : "";
}

}  // namespace

// ---- Lifetime ----

FileStream::FileStream(std::shared_ptr<DetailFileDescription> description, FileRequestFunc data, FileCancelFunc cancel,
                       std::int32_t mode)
    : mFileDataFunc(std::move(data)), mFileCancelFunc(std::move(cancel)), mReader(nullptr)
{
    takeDescription(std::move(description));
    CLIP_LOG(kLogInfo, "mFileCancelFunc:%p setFile:%s", static_cast<void*>(&mFileCancelFunc),
             nameOf(GetFileDescription().get()));
    if (mode == kFileModeOpenLocal)
        open();
}

FileStream::FileStream(std::shared_ptr<DetailFileDescription> description, std::shared_ptr<FileTransfer> transfer,
                       std::int32_t /*mode*/)
    : mReader(std::move(transfer))
{
    takeDescription(std::move(description));
    noteReadActivity();
    CLIP_LOG(kLogInfo, "mFileCancelFunc:%p setFileDescription:%s", static_cast<void*>(&mFileCancelFunc),
             nameOf(GetFileDescription().get()));
}

FileStream::~FileStream()
{
    close();
}

// ---- IUnknown ----

HRESULT FileStream::QueryInterface(REFIID iid, void** object)
{
    if (!object)
        return E_INVALIDARG;
    *object = nullptr;
    if (iid != IID_IUnknown && iid != IID_ISequentialStream && iid != IID_IStream)
        return E_NOINTERFACE;
    *object = static_cast<IStream*>(this);
    AddRef();
    return S_OK;
}

ULONG FileStream::AddRef()
{
    return ++mRefCount;
}

ULONG FileStream::Release()
{
    const ULONG count = --mRefCount;
    // IStream has no virtual destructor, MediumBase has.
    if (count == 0)
        delete static_cast<MediumBase*>(this);
    return count;
}

// ---- ISequentialStream ----

HRESULT FileStream::Read(void* pv, ULONG cb, ULONG* pcbRead)
{
    if (!pv || !pcbRead)
        return STG_E_INVALIDPOINTER;
    if (mCancelled || mReader.IsDisconnected()) {
        *pcbRead = 0;  // COM carries that many bytes to another process, whatever the result says
        return STG_E_REVERTED;
    }
    gReadState = ReadState::kInRead;
    noteReadActivity();
    const HRESULT result = callWithoutExceptions([&] { return readCurrentFile(static_cast<char*>(pv), cb, *pcbRead); });
    if (FAILED(result)) {
        *pcbRead = 0;
        noteReadActivity();
        gReadState = ReadState::kBetweenReads;
    }
    closeReaderIfEnded();
    return result;
}

HRESULT FileStream::readCurrentFile(char* buffer, ULONG length, ULONG& copied)
{
    const StreamLockScope lock(mMutex, isReadingHere());
    const ReadingMark mark(mReadingThread);
    if (mCancelled || mReader.IsDisconnected())
        return STG_E_REVERTED;  // it ended before this Read had the lock, and its slice is closed
    return mReader.Read(GetFileDescription(), buffer, length, copied);
}

HRESULT FileStream::Write(const void* /*pv*/, ULONG /*cb*/, ULONG* /*pcbWritten*/)
{
    return S_OK;
}

// ---- IStream ----

HRESULT FileStream::Seek(LARGE_INTEGER /*dlibMove*/, DWORD dwOrigin, ULARGE_INTEGER* plibNewPosition)
{
    CLIP_LOG(kLogInfo, "dwOrigin:%d", static_cast<int>(dwOrigin));
    return callWithoutExceptions([&] {
        const StreamLockScope lock(mMutex, isReadingHere());
        std::uint64_t position = 0;
        if (mSeekable && !findPosition(dwOrigin, position))
            return STG_E_INVALIDFUNCTION;
        if (plibNewPosition)
            plibNewPosition->QuadPart = position;
        return S_OK;
    });
}

// @return false for an origin that there is not
bool FileStream::findPosition(DWORD origin, std::uint64_t& position) const
{
    switch (origin) {
        case STREAM_SEEK_SET:
            CLIP_LOG(kLogInfo, "seek begin");
            return true;
        case STREAM_SEEK_CUR:
            if (const TransferFile* const file = mReader.Record()) {
                position = static_cast<std::uint64_t>(file->CopiedSize());
                CLIP_LOG(kLogInfo, "seek cur:%lld", static_cast<long long>(position));
            }
            return true;
        case STREAM_SEEK_END:
            CLIP_LOG(kLogInfo, "seek end");
            if (const auto description = GetFileDescription())
                position = description->size;
            return true;
        default:
            return false;
    }
}

HRESULT FileStream::SetSize(ULARGE_INTEGER /*libNewSize*/)
{
    return E_NOTIMPL;
}

HRESULT FileStream::CopyTo(IStream* /*pstm*/, ULARGE_INTEGER /*cb*/, ULARGE_INTEGER* /*pcbRead*/,
                           ULARGE_INTEGER* /*pcbWritten*/)
{
    return E_NOTIMPL;
}

HRESULT FileStream::Commit(DWORD /*grfCommitFlags*/)
{
    return E_NOTIMPL;
}

HRESULT FileStream::Revert()
{
    return E_NOTIMPL;
}

HRESULT FileStream::LockRegion(ULARGE_INTEGER /*libOffset*/, ULARGE_INTEGER /*cb*/, DWORD /*dwLockType*/)
{
    return E_NOTIMPL;
}

HRESULT FileStream::UnlockRegion(ULARGE_INTEGER /*libOffset*/, ULARGE_INTEGER /*cb*/, DWORD /*dwLockType*/)
{
    return E_NOTIMPL;
}

HRESULT FileStream::Stat(STATSTG* pstatstg, DWORD /*grfStatFlag*/)
{
    CLIP_LOG(kLogInfo, "Stat");
    if (!pstatstg)
        return STG_E_INVALIDFUNCTION;
    *pstatstg = {};
    return callWithoutExceptions([&] {
        const StreamLockScope lock(mMutex, isReadingHere());
        pstatstg->type = STGTY_STREAM;
        pstatstg->cbSize.QuadPart = mLocalFile.is_open() ? localFileSize() : mFileSize;
        return S_OK;
    });
}

HRESULT FileStream::Clone(IStream** /*ppstm*/)
{
    return E_NOTIMPL;
}

// ---- The data object's side ----

void FileStream::Cancel()
{
    CLIP_LOG(kLogInfo, "Enter");
    if (TransferFile* const file = mReader.Record())
        file->NotifySliceReady();
    if (isReadingHere())
        mCancelled = true;
    else
        MediumBase::Cancel();
    closeReaderIfEnded();
}

bool FileStream::SetFile(std::shared_ptr<DetailFileDescription> description, FileRequestFunc data,
                         FileCancelFunc cancel, std::int32_t mode)
{
    CLIP_LOG(kLogInfo, "Enter file:%s", nameOf(description.get()));
    const StreamLockScope lock(mMutex, isReadingHere());
    if (!mayPointAnew())
        return false;
    // The host's old functions die with the arguments, when the lock is released.
    mFileDataFunc.swap(data);
    mFileCancelFunc.swap(cancel);
    return pointAtFile(std::move(description), mode);
}

bool FileStream::SetFile(std::shared_ptr<DetailFileDescription> description,
                         const std::shared_ptr<FileTransfer>& /*transfer*/, std::int32_t mode)
{
    CLIP_LOG(kLogInfo, "Enter file:%s", nameOf(description.get()));
    const StreamLockScope lock(mMutex, isReadingHere());
    return mayPointAnew() && pointAtFile(std::move(description), mode);
}

// The part of SetFile that comes before anything is stored.
bool FileStream::mayPointAnew() const
{
    if (mIsWaiting) {
        CLIP_LOG(kLogError, "File stream is waiting.");
        return false;
    }
    noteReadActivity();
    return true;
}

// The part of SetFile that both overloads share.
bool FileStream::pointAtFile(std::shared_ptr<DetailFileDescription> description, std::int32_t mode)
{
    CLIP_LOG(kLogInfo, "mFileCancelFunc:%p", static_cast<void*>(&mFileCancelFunc));
    mReader.BeginAnew();
    takeDescription(std::move(description));
    close();
    if (mode != kFileModeOpenLocal)
        return true;
    const auto current = GetFileDescription();
    if (current && GetFullPath(*current).empty()) {
        CLIP_LOG(kLogError, "File name is empty!");
        return false;
    }
    open();
    return true;
}

// Without a description, name and size stay those of the file before.
void FileStream::takeDescription(std::shared_ptr<DetailFileDescription> description)
{
    if (description) {
        mFileName = GetRelativeName(*description);
        mFileSize = description->size;
    }
    const LockScope lock(mDescriptionMutex);
    mFileDescription.swap(description);
}

std::shared_ptr<DetailFileDescription> FileStream::GetFileDescription() const
{
    const LockScope lock(mDescriptionMutex);
    return mFileDescription;
}

void FileStream::open()
{
    CLIP_LOG(kLogInfo, "Enter");
    if (mFilePath.empty() || mLocalFile.is_open())
        return;
    openShared(mLocalFile, Utf8ToWide(mFilePath).c_str(), std::ios_base::in);
}

void FileStream::close()
{
    CLIP_LOG(kLogInfo, "Enter");
    if (mLocalFile.is_open())
        mLocalFile.close();
}

void FileStream::onFileTransferData(const ClipfileDescription& /*description*/, const unsigned char* /*data*/,
                                    std::uint64_t size)
{
    CLIP_LOG(kLogInfo, "onFileTransferData: len:%d", static_cast<int>(size));
}

void FileStream::Disconnect()
{
    mReader.Disconnect(isReadingHere());
    closeReaderIfEnded();
}

// Nothing more is read from the slice. A Read that runs is not waited for: it closes the slice itself. Everything else
// holds the lock for a moment only.
void FileStream::closeReaderIfEnded()
{
    if ((!mCancelled && !mReader.IsDisconnected()) || isReadingHere())
        return;
    while (!mMutex.try_lock()) {
        if (mReadingThread != std::thread::id())
            return;
        std::this_thread::yield();
    }
    if (TransferFile* const file = mReader.Record())
        file->GiveUpReader();
    mMutex.unlock();
}

// ---- Helpers ----

// Whether the calling thread stands inside Read already, so that mMutex is its own.
bool FileStream::isReadingHere() const
{
    return mReadingThread == std::this_thread::get_id();
}

// Leaves the position of the local file where it is.
std::uint64_t FileStream::localFileSize()
{
    const std::streampos position = mLocalFile.tellg();
    mLocalFile.seekg(0, std::ios::end);
    const std::streamoff size = mLocalFile.tellg();
    mLocalFile.seekg(position);
    return static_cast<std::uint64_t>(size);
}

}  // namespace sd::clip
