#include "file_stream/transfer_reader.h"

#include <utility>

#include "base/log.h"
#include "file_stream/read_heartbeat.h"

namespace sd::clip {

namespace {

constexpr DWORD kRecordPauseMilliseconds = 500;
constexpr std::uint64_t kRecordPatienceMilliseconds = 5000;

// Whether a newer list writes the slices of the file. Asked after a read too, as those bytes may be the newer list's.
bool isTaken(const TransferFile& file)
{
    if (!file.HasLostSlices())
        return false;
    CLIP_LOG(kLogError, "A newer list has taken the slices of %s", file.Key().c_str());
    return true;
}

// The end of a Read that has its bytes.
HRESULT noteCopied(const TransferFile& file, ULONG copied, ULONG length)
{
    noteReadActivity();
    if (file.CopiedSize() == file.FileSize())
        CLIP_LOG(kLogInfo, "%s copied finish.", file.Key().c_str());
    gReadState = ReadState::kBetweenReads;
    if (copied >= length)
        return S_OK;
    CLIP_LOG(kLogError, "(%lu < %lu) copyed size:%lld, filesize:%lld", copied, length,
             static_cast<long long>(file.CopiedSize()), static_cast<long long>(file.FileSize()));
    if (copied == 0)
        noteReadActivity();
    return S_FALSE;
}

}  // namespace

TransferReader::TransferReader(std::shared_ptr<FileTransfer> transfer) : mFileTransfer(std::move(transfer)) {}

HRESULT TransferReader::Read(const std::shared_ptr<DetailFileDescription>& description, char* buffer, ULONG length,
                             ULONG& copied)
{
    TransferFile* const file = waitForRecord(description.get());
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
    std::uint32_t count = 0;
    if (!readFrom(*file, buffer, length, count))
        return STG_E_REVERTED;
    copied = count;
    return noteCopied(*file, copied, length);
}

// @return false if the bytes are another list's, or if there are none since the data object has died
bool TransferReader::readFrom(TransferFile& file, char* buffer, std::uint32_t length, std::uint32_t& count)
{
    if (std::exchange(mStartsAnew, false))
        file.Restart();
    const bool isReady = file.Read(buffer, length, &count);
    // Without the data object no bytes are no end of the file: the slice may have been cleaned away, or the host may
    // deliver no more. If what this Read calls ends the object, the Read ends like any wait in vain.
    const bool diedMeanwhile = mDiedOutsideRead && count == 0;
    if (!isReady) {
        CLIP_LOG(kLogError, "Read file conntext fail. Cancel remote transfer");
        if (!mDisconnected)
            mFileTransfer->CancelRemoteTransfer();
        file.RethrowReportFailure();
    }
    return !diedMeanwhile && !isTaken(file);
}

void TransferReader::BeginAnew()
{
    mStartsAnew = true;
    if (TransferFile* const earlier = mTransferFile)
        earlier->GiveUpReader();
}

void TransferReader::Disconnect(bool isInsideRead)
{
    if (!isInsideRead)
        mDiedOutsideRead = true;
    mDisconnected = true;
}

// The record of a file is made by the first delivery, so this covers the time from the request to the first byte.
// @return null if none came in time, or if the data object died
TransferFile* TransferReader::waitForRecord(const DetailFileDescription* description)
{
    const char* const name = description ? description->fileName.c_str() : "";
    mWaitClipboardReadTime = 0;
    mTransferFile = findRecord(description);
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
        mTransferFile = findRecord(description);
        CLIP_LOG(kLogInfo, "mTransferFile:%p", static_cast<void*>(mTransferFile.load()));
    }
    return mTransferFile;
}

TransferFile* TransferReader::findRecord(const DetailFileDescription* description) const
{
    return mFileTransfer && description ? mFileTransfer->GetTransferFile(*description) : nullptr;
}

}  // namespace sd::clip
