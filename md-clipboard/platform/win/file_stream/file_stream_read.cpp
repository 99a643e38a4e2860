// The stream's Read: finds the record of the file, waits for it if need be, and reads on from its slices.
#include <utility>

#include "base/log.h"
#include "file_stream/file_stream.h"
#include "file_stream/read_heartbeat.h"
#include "file_stream/transfer_file.h"
#include "support/without_exceptions.h"

namespace sd::clip {

namespace {

constexpr DWORD kRecordPauseMilliseconds = 500;
constexpr std::uint64_t kRecordPatienceMilliseconds = 5000;

// Notes for one scope who reads. Scopes of one thread nest.
class ReadingMark {
public:
    explicit ReadingMark(std::atomic<std::thread::id>& thread)
        : mThread(thread), mBefore(thread.exchange(std::this_thread::get_id()))
    {
    }
    ReadingMark(const ReadingMark&) = delete;
    ReadingMark& operator=(const ReadingMark&) = delete;

    ~ReadingMark()
    {
        mThread = mBefore;
    }

private:
    std::atomic<std::thread::id>& mThread;
    const std::thread::id mBefore;
};

// Whether a newer list writes the slices of the file. Asked after a read too, as those bytes may be the newer list's.
bool isTaken(const TransferFile& file)
{
    if (!file.HasLostSlices())
        return false;
    CLIP_LOG(kLogError, "A newer list has taken the slices of %s", file.mFileKey.c_str());
    return true;
}

}  // namespace

HRESULT FileStream::Read(void* pv, ULONG cb, ULONG* pcbRead)
{
    if (!pv || !pcbRead)
        return STG_E_INVALIDPOINTER;
    if (mCancelled || mDisconnected) {
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
    if (mCancelled || mDisconnected)
        return STG_E_REVERTED;  // it ended before this Read had the lock, and its slice is closed
    TransferFile* const file = waitForTransferFile();
    if (!file && mDisconnected)
        return STG_E_REVERTED;
    if (!file) {
        copied = 0;
        noteReadActivity();
        gReadState = ReadState::kBetweenReads;
        return S_FALSE;
    }

    if (isTaken(*file))
        return STG_E_REVERTED;
    if (std::exchange(mStartsAnew, false))
        file->Restart();
    std::uint32_t count = 0;
    const bool isReady = file->Read(buffer, length, &count);
    // Without the data object no bytes are no end of the file: the slice may have been cleaned away, or the host may
    // deliver no more. If what this Read calls ends the object, the Read ends like any wait in vain.
    const bool diedMeanwhile = mDiedOutsideRead && count == 0;
    if (!isReady) {
        CLIP_LOG(kLogError, "Read file conntext fail. Cancel remote transfer");
        if (!mDisconnected)
            mFileTransfer->CancelRemoteTransfer();
        file->RethrowReportFailure();
    }
    if (diedMeanwhile || isTaken(*file))
        return STG_E_REVERTED;
    copied = count;
    noteReadActivity();
    if (file->mCopiedSize == file->mFileSize)
        CLIP_LOG(kLogInfo, "%s copied finish.", file->mFileKey.c_str());
    gReadState = ReadState::kBetweenReads;
    if (copied >= length)
        return S_OK;
    CLIP_LOG(kLogError, "(%lu < %lu) copyed size:%lld, filesize:%lld", copied, length,
             static_cast<long long>(file->mCopiedSize), static_cast<long long>(file->mFileSize));
    if (copied == 0)
        noteReadActivity();
    return S_FALSE;
}

// The record of a file is made by the first delivery, so this covers the time from the request to the first byte.
// @return null if none came in time, or if the stream was disconnected
TransferFile* FileStream::waitForTransferFile()
{
    const auto description = GetFileDescription();
    const char* const name = description ? description->fileName.c_str() : "";
    mWaitClipboardReadTime = 0;
    mTransferFile = findTransferFile(description.get());
    while (!mTransferFile) {
        CLIP_LOG(kLogInfo, "Wait transfer file:%s, waittime:%d", name, static_cast<int>(kRecordPauseMilliseconds));
        Sleep(kRecordPauseMilliseconds);
        mWaitClipboardReadTime += kRecordPauseMilliseconds;
        CLIP_LOG(kLogInfo, "mWaitClipboardReadTime:%lld", static_cast<long long>(mWaitClipboardReadTime));
        if (mDisconnected)
            return nullptr;
        if (mWaitClipboardReadTime >= kRecordPatienceMilliseconds) {
            CLIP_LOG(kLogError, "May be qsp sdk has something wrong when copy files.");
            return nullptr;
        }
        mTransferFile = findTransferFile(description.get());
        CLIP_LOG(kLogInfo, "mTransferFile:%p", static_cast<void*>(mTransferFile.load()));
    }
    return mTransferFile;
}

TransferFile* FileStream::findTransferFile(const DetailFileDescription* description)
{
    return mFileTransfer && description ? mFileTransfer->GetTransferFile(*description) : nullptr;
}

}  // namespace sd::clip
