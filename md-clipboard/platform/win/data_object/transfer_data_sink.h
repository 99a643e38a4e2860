// The sink: what becomes of the file data that the host delivers for one list.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "data_object/list_transfer.h"
#include "sd/clip/clipboard_data.h"

namespace sd::clip {

// Puts each delivery into the slice of its file, keeps the sums that decide when a file and the list are finished, and
// turns the silence of a pasting application into a cancel.
//
// Threads: any; deliveries are taken one after the other, under the data lock.
class TransferDataSink {
public:
    // @param transfer kept
    // @param cancel cancels the transfer. Kept, and with it what it captures; called when this thread holds no data
    //               lock any more, and must not throw
    TransferDataSink(std::shared_ptr<ListTransfer> transfer, std::function<void()> cancel);

    TransferDataSink(const TransferDataSink&) = delete;
    TransferDataSink& operator=(const TransferDataSink&) = delete;

    // @return what the host gets. It may keep it as long as it likes: what it delivers after the end is dropped
    static FileDataRequestCallback Make(std::shared_ptr<ListTransfer> transfer, std::function<void()> cancel);

    // Throws what the listener throws at an event, when the work is done.
    // @param data of `size` bytes
    void TakeDelivery(const ClipfileDescription& file, const unsigned char* data, unsigned long long size);

private:
    bool isStalled() const;
    void cancelForStall();
    TransferFile& transferFor(const ClipfileDescription& file) CLIP_REQUIRES(mTransfer->mDataLock);
    void storeDelivery(ClipboardFileDataImpl& record, const ClipfileDescription& file, const unsigned char* data,
                       unsigned long long size) CLIP_REQUIRES(mTransfer->mDataLock);
    void finishSlice(const ClipboardFileDataImpl& record, TransferFile& transfer, const std::string& fileName)
        CLIP_REQUIRES(mTransfer->mDataLock);

    const std::shared_ptr<ListTransfer> mTransfer;
    const std::function<void()> mCancel;
};

}  // namespace sd::clip
