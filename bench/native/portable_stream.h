// What a stream does for a Read, on any platform.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <thread>

#include "base/annotated_mutex.h"
#include "data_object/list_transfer.h"
#include "file_stream/medium_base.h"
#include "file_utilities/detail_file_description.h"

// FileStream needs the platform's headers, so its steps are repeated here, in its order and with as many locks and
// references. Who changes Read (file_stream.cpp, transfer_reader.cpp) changes this too.
// Threads: one. The locks are taken because they cost something.
class PortableStream : public sd::clip::MediumBase {
public:
    // @param description of the file to read, of which data has arrived
    PortableStream(std::shared_ptr<sd::clip::DetailFileDescription> description,
                   std::shared_ptr<sd::clip::ListTransfer> transfer);

    // @param copied set to the count of bytes read, fewer than `length` at the end of a slice
    // @return false if there is nothing to read
    bool Read(void* bytes, std::uint32_t length, std::uint32_t* copied);

private:
    bool readCurrentFile(char* buffer, std::uint32_t length, std::uint32_t& copied);
    std::shared_ptr<sd::clip::DetailFileDescription> description() const;
    sd::clip::TransferFile* findTransferFile();
    bool isReadingHere() const;

    const std::shared_ptr<sd::clip::ListTransfer> mTransfer;
    mutable sd::clip::Mutex mDescriptionMutex;
    std::shared_ptr<sd::clip::DetailFileDescription> mDescription CLIP_GUARDED_BY(mDescriptionMutex);
    std::atomic<sd::clip::TransferFile*> mTransferFile{nullptr};
    bool mStartsAnew CLIP_GUARDED_BY(mMutex) = true;
    std::atomic<bool> mDisconnected{false};
    std::atomic<std::thread::id> mReadingThread{};
};
