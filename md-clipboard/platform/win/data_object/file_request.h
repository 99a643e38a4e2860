// The request for one file list of the guest, which a pasting application, the host and the engine drive.
//
// A data object, its stream, the sink that the host keeps and the engine all know the request and share it; none of
// them knows another by an address that may be gone. The data object's destructor cuts the request: from then on
// deliveries are dropped and streams are told. The records of files stay as long as a stream may read from them.
#pragma once

#include <windows.h>

#include <wrl/client.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/annotated_mutex.h"
#include "data_object/file_transfer.h"
#include "data_object/list_transfer.h"
#include "data_object/slice_path.h"
#include "sd/clip/clipboard_data.h"

namespace sd::clip {

class FileStream;

// Threads: any. Lock order: the data lock (data_lock.h), then mLock or a lock of state or records, which are leaves.
class FileRequest final : public FileTransfer, public std::enable_shared_from_this<FileRequest> {
public:
    FileRequest();
    ~FileRequest();
    FileRequest(const FileRequest&) = delete;
    FileRequest& operator=(const FileRequest&) = delete;

    // Once, before the data object goes on the clipboard. The list must not change afterwards.
    void SetClipboardData(std::shared_ptr<ClipboardData> data);

    // The record; null before it was set, after a cancel and after cut.
    std::shared_ptr<ClipboardData> GetClipboardData() const;

    // Takes a reference of its own; released by Cut. The stream may outlive the request's interest in it. One that
    // comes after the host has reported a failure is cancelled at once.
    void SetStream(FileStream* stream);
    Microsoft::WRL::ComPtr<FileStream> GetStream() const;

    // What the destruction of the data object leaves behind: a transfer that is under way is cancelled, the record and
    // the stream are let go, and whoever still reads is told. Waits for a delivery that is being taken.
    void Cut();

    // @return what the host calls for each piece of file data. It keeps the request
    FileDataRequestCallback MakeSink();

    // Whether the host was asked and has not delivered everything, or is being asked right now: a host's question to
    // the user pumps messages, and so another request may come in the middle of it.
    bool IsUnderWay() const;

    // Whether slices that are named by the digest are those of a file of this list, come or still to come.
    bool OwnsSlices(const SliceDigest& digest);

    // FileTransfer:
    bool startRequestFileData(const ClipfileDescription& file, bool& rejected) override;
    TransferFile* GetTransferFile(const ClipfileDescription& file) override;
    RequestFileState GetRequestFileState() override;
    bool IsDataTransfering() override;
    void CancelRemoteTransfer() override CLIP_EXCLUDES(mTransfer->mDataLock, mLock);
    void NotifyFileTransferFailed() override;

private:
    friend class TestAccess;

    void logRequest(const ClipfileDescription& file) const;
    void declineRequest(const ClipfileDescription& file) const;
    bool requestFromHost(const ClipfileDescription& file, ClipboardFileData& record)
        CLIP_REQUIRES(mTransfer->mDataLock);
    bool callRequestFunction(const ClipfileDescription& file, ClipboardFileData& record)
        CLIP_REQUIRES(mTransfer->mDataLock);
    static bool isPasteWanted(ClipboardFileData& record);
    void callCancelFunction(ClipboardFileDataImpl* record) const;
    std::vector<SliceDigest> digestsOfSlices();
    ClipfileDescription descriptionForCancel() const;

    const std::shared_ptr<ListTransfer> mTransfer = std::make_shared<ListTransfer>();

    mutable Mutex mLock CLIP_ACQUIRED_AFTER(mTransfer->mDataLock);  // a leaf
    Microsoft::WRL::ComPtr<FileStream> mFileStream CLIP_GUARDED_BY(mLock);
    // Sorted; made when they are first asked for.
    std::optional<std::vector<SliceDigest>> mSliceDigests CLIP_GUARDED_BY(mLock);
};

}  // namespace sd::clip
