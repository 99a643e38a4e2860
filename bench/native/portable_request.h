// What a request for a guest's list does for a delivery, on any platform.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

#include "base/annotated_mutex.h"
#include "data_object/data_lock.h"
#include "data_object/file_transfer.h"
#include "data_object/transfer_files.h"
#include "sd/clip/clipboard_data.h"

// FileRequest needs the platform's headers, so its steps are repeated here, in its order and with as many locks and
// references. Who changes the sink (transfer_data_sink.cpp) changes this too.
// Threads: one. The locks are taken because they cost something.
class PortableRequest : public std::enable_shared_from_this<PortableRequest> {
public:
    // @param record of the list, with its files
    // @param stream stands for the one that an application reads from; only references to it are counted
    // @param cacheDirectory with a separator at its end
    PortableRequest(std::shared_ptr<sd::clip::ClipboardFileData> record, std::shared_ptr<void> stream,
                    std::string cacheDirectory);

    // As the host has it. Throws std::logic_error where the real one would not take the delivery.
    sd::clip::FileDataRequestCallback MakeSink();

    // @return null before the file's first delivery
    sd::clip::TransferFile* GetTransferFile(const sd::clip::ClipfileDescription& file) const;

private:
    void takeDelivery(const sd::clip::ClipfileDescription& file, const unsigned char* data, unsigned long long size);
    std::shared_ptr<sd::clip::ClipboardFileDataImpl> recordForDelivery() const;
    std::shared_ptr<void> stream() const;
    bool isStalled() const;
    void setState(sd::clip::RequestFileState state);
    sd::clip::TransferFile& transferFor(const sd::clip::ClipfileDescription& file);
    std::string pathOfSlice(const sd::clip::TransferFile& transfer) const;
    void storeDelivery(sd::clip::ClipboardFileDataImpl& record, const sd::clip::ClipfileDescription& file,
                       const unsigned char* data, unsigned long long size);
    void finishSlice(const sd::clip::ClipboardFileDataImpl& record, sd::clip::TransferFile& transfer,
                     const std::string& path) const;
    void closeSlicesIfEnded();

    const std::string mCacheDirectory;
    const std::uint64_t mTotalFileSize;
    sd::clip::DataLock mDataLock;
    sd::clip::TransferFiles mTransferFiles;
    mutable sd::clip::Mutex mStateLock;
    std::shared_ptr<sd::clip::ClipboardData> mRecord CLIP_GUARDED_BY(mStateLock);
    std::shared_ptr<void> mStream CLIP_GUARDED_BY(mStateLock);
    bool mCancelling CLIP_GUARDED_BY(mStateLock) = false;
    std::atomic<sd::clip::RequestFileState> mState{sd::clip::RequestFileState::kRequesting};
};
