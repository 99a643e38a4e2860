// The transfer of one list, so far as its request and its sink share it.
#pragma once

#include <memory>
#include <utility>

#include "data_object/data_lock.h"
#include "data_object/transfer_files.h"
#include "data_object/transfer_state.h"

namespace sd::clip {

// Threads: any. Lock order: the data lock, then a lock of state or records, which are leaves.
struct ListTransfer {
    // Stands around a scope with the data lock: a transfer that another thread ends meanwhile keeps no slice open,
    // though that thread does not wait for the lock.
    class SliceCloser {
    public:
        // @param transfer kept for the scope
        explicit SliceCloser(std::shared_ptr<ListTransfer> transfer) : mTransfer(std::move(transfer)) {}
        ~SliceCloser()
        {
            mTransfer->CloseSlicesIfEnded();
        }
        SliceCloser(const SliceCloser&) = delete;
        SliceCloser& operator=(const SliceCloser&) = delete;

    private:
        const std::shared_ptr<ListTransfer> mTransfer;
    };

    // Closes what is open for writing if deliveries are dropped. Does not wait: a delivery or a request that has the
    // data lock closes it itself, behind the lock.
    void CloseSlicesIfEnded();

    TransferState mState;
    TransferFiles mFiles;
    // Held for a request, the host's functions included, and for a delivery. What it guards stands in the records: all
    // that is called the writer's in transfer_file.h.
    DataLock mDataLock;
};

}  // namespace sd::clip
