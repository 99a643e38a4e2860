#pragma once

#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "guest_landings.h"
#include "guest_options.h"
#include "guest_transfer.h"
#include "sd/clip/clipboard.h"

/// Plays the guest: offers the files of a folder to the local applications, and delivers their bytes on request or
/// brings them to where a placeholder landed. A host does the same with what it receives from its guest;
/// guest_transfer.cpp and guest_landings.cpp are the parts that receive.
class Guest {
public:
    /// Reads the folder's list; without a folder there is no guest, and the object does nothing.
    /// Throws std::filesystem::filesystem_error if the folder cannot be read.
    explicit Guest(const GuestOptions& options);
    Guest(const Guest&) = delete;
    Guest& operator=(const Guest&) = delete;
    ~Guest();

    /// Offers the list, on a thread of its own: that call waits for OLE, and the caller has messages to dispatch.
    void start();

    /// Ends offers and deliveries, and waits for that.
    void stop();

private:
    void offerUntilStopped();
    void offerStreams();
    void offerPlaceholder();
    void offer(sd::clip::ClipboardFormat route, const std::shared_ptr<sd::clip::ClipboardFileData>& record) const;

    const GuestOptions mOptions;
    std::shared_ptr<const GuestTransfer::FileList> mFiles;
    const Event mStop;
    std::thread mThread;
    // One for each offer, of the offering thread, and of stop after that has ended.
    std::vector<std::shared_ptr<GuestTransfer>> mTransfers;
    std::vector<std::shared_ptr<GuestLandings>> mLandings;
};
