#pragma once

#include <windows.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "guest_options.h"
#include "sd/clip/clipboard_data.h"

struct EventCloser {
    using pointer = HANDLE;
    void operator()(HANDLE event) const
    {
        CloseHandle(event);
    }
};
/// A manual-reset event.
using Event = std::unique_ptr<HANDLE, EventCloser>;

/// The transfer of one list: waits for the library's request, then delivers all files on a thread of its own.
/// Threads: start and cancel are called by the library, on any thread and even after end.
class GuestTransfer {
public:
    using FileList = std::vector<sd::clip::ClipfileDescription>;

    GuestTransfer(const GuestOptions& options, std::shared_ptr<const FileList> files);
    ~GuestTransfer();

    /// Starts the delivery and returns: who calls holds a lock that each delivery waits for.
    void start(sd::clip::FileDataRequestCallback sink);

    /// The library wants no more. It may be calling from inside a delivery.
    void cancel();

    /// Ends the delivery, if there is one, and waits for that.
    void end();

private:
    void deliverAll(const sd::clip::FileDataRequestCallback& sink);
    bool deliverFile(const sd::clip::ClipfileDescription& file, const sd::clip::FileDataRequestCallback& sink);
    bool passFaults();
    bool waitForTurn();
    std::uint64_t limitPiece(std::uint64_t left) const;
    void reportFailure(const std::string& reason) const;
    void printProgress();

    const GuestOptions mOptions;
    const std::shared_ptr<const FileList> mFiles;
    const std::uint64_t mTotal;
    const Event mStop;

    std::mutex mThreadMutex;
    std::thread mThread;  // with mEnded, under mThreadMutex
    bool mEnded = false;

    // of the delivering thread
    std::vector<unsigned char> mBuffer;
    std::uint64_t mSent = 0;
    std::chrono::steady_clock::time_point mBegin;
    std::chrono::steady_clock::time_point mLastReport;
};
