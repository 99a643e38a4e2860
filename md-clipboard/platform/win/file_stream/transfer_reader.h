// What a stream reads its file from: the record of the file, so soon as there is one.
#pragma once

#include <windows.h>

#include <atomic>
#include <cstdint>
#include <memory>

#include "base/thread_annotations.h"
#include "data_object/file_transfer.h"
#include "file_stream/transfer_file.h"
#include "file_utilities/detail_file_description.h"

namespace sd::clip {

// Finds the record of a file, waits for it if need be, and reads on from its slices.
//
// Threads: what is called the reader's is guarded by the stream's lock.
class TransferReader {
public:
    // @param transfer where the records come from; kept, and it keeps the records. Without it nothing is ever found
    explicit TransferReader(std::shared_ptr<FileTransfer> transfer);

    TransferReader(const TransferReader&) = delete;
    TransferReader& operator=(const TransferReader&) = delete;

    // ---- The reader ----
    // Waits up to 5 seconds for the record, and up to 30 for a slice; after a wait for a slice that was in vain the
    // transfer is cancelled.
    // @param description of the file; may be null, and then there is no record
    // @param copied set to the count of bytes, unless the result is a failure
    // @return S_OK for all of the bytes; S_FALSE for fewer; STG_E_REVERTED if what was read is not the file's, or was
    //         none and the data object has died
    HRESULT Read(const std::shared_ptr<DetailFileDescription>& description, char* buffer, ULONG length, ULONG& copied);

    // The next Read begins its file with the first byte; the slice that was read last is closed.
    void BeginAnew();

    // ---- Any thread ----
    // The record that was read last, or null. The transfer keeps it alive.
    TransferFile* Record() const
    {
        return mTransferFile;
    }

    // The data object has died: the transfer is asked for nothing more. A Read that waits for a record gives up after
    // its pause, one that waits for a slice waits on.
    // @param isInsideRead whether the calling thread stands inside Read: what the Read itself brings about, it reports
    //                     as a wait in vain
    void Disconnect(bool isInsideRead);
    bool IsDisconnected() const
    {
        return mDisconnected;
    }

private:
    friend class TestAccess;

    TransferFile* waitForRecord(const DetailFileDescription* description);
    TransferFile* findRecord(const DetailFileDescription* description) const;
    bool readFrom(TransferFile& file, char* buffer, std::uint32_t length, std::uint32_t& count);

    // Milliseconds that the current Read has waited.
    std::uint64_t mWaitClipboardReadTime CLIP_UNGUARDED("the reader's") = 0;
    const std::shared_ptr<FileTransfer> mFileTransfer;
    // Looked up anew by each Read. Atomic because others look at it while a Read is at work.
    std::atomic<TransferFile*> mTransferFile{nullptr};
    bool mStartsAnew CLIP_UNGUARDED("the reader's") = true;
    std::atomic<bool> mDisconnected{false};
    std::atomic<bool> mDiedOutsideRead{false};  // and not by what the reading thread did inside Read
};

}  // namespace sd::clip
