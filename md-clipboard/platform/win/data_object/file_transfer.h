// The file request side of a data object, as its stream and the engine see it.
#pragma once

#include <cstdint>

#include "sd/clip/clipboard_data.h"

namespace sd::clip {

class TransferFile;

enum class RequestFileState : std::int32_t {
    kRequestIdle = 0,      // nothing asked yet
    kRequesting = 1,       // the request is made, no byte has come
    kTransfering = 2,      // at least one delivery has come, not all bytes are here
    kRequestFailed = 3,    // the request could not be made, or the transfer was cancelled
    kRequestFinished = 4,  // all bytes of all files of the list are on disk
};

// Threads: any. The order of the operations is the order of their slots.
class FileTransfer {
public:
    // Asks the host for the list, once. `rejected` tells whether the host vetoed the paste. False on the ordinary road
    // of every later file too.
    virtual bool startRequestFileData(const ClipfileDescription& file, bool& rejected) = 0;

    // The record of a file of which data has arrived; null if none has. Valid while somebody holds this side.
    virtual TransferFile* GetTransferFile(const ClipfileDescription& file) = 0;

    virtual RequestFileState GetRequestFileState() = 0;

    // Whether the list is requested or on its way.
    virtual bool IsDataTransfering() = 0;

    // Stops a transfer that is under way: the host's cancel function is called, the record is dropped.
    virtual void CancelRemoteTransfer() = 0;

    // The host's report that the transfer failed: wakes and marks the stream.
    virtual void NotifyFileTransferFailed() = 0;

protected:
    // Never deleted through this interface; a virtual destructor would take a slot.
    ~FileTransfer() = default;
};

}  // namespace sd::clip
