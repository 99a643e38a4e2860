// A guest behind the host: files that it offers, and a thread that delivers them once they are asked for.
#pragma once

#include <windows.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "sd/clip/clipboard_data.h"

struct GuestFile {
    std::string relativePath;
    std::string fileName;
    std::string bytes;
    bool isFolder = false;
};

// Bytes without a pattern, the same for the same size.
std::string makeBytes(std::size_t size);

struct Delivery {
    std::size_t piece = 65536;  // bytes of a delivery
    DWORD pause = 0;            // milliseconds after each
    // Called on the delivering thread before each delivery, with the bytes sent so far.
    std::function<void(std::uint64_t sent)> before = nullptr;
};

// Where the delivering thread waits for the test. Its messages are dispatched meanwhile.
class Gate {
public:
    Gate();
    ~Gate();
    Gate(const Gate&) = delete;
    Gate& operator=(const Gate&) = delete;

    void pass();  // waits until it is open
    bool waitForArrival(int milliseconds = 30000) const;
    void open();

private:
    const HANDLE mArrived;
    const HANDLE mOpened;
};

// Made by std::make_shared: a record keeps its list, and the library keeps the record for as long as some application
// holds on to it.
class GuestList : public std::enable_shared_from_this<GuestList> {
public:
    GuestList(std::vector<GuestFile> files, Delivery delivery);
    ~GuestList();
    GuestList(const GuestList&) = delete;
    GuestList& operator=(const GuestList&) = delete;

    std::shared_ptr<sd::clip::ClipboardFileDataImpl> makeRecord();

    const std::vector<GuestFile>& files() const
    {
        return mFiles;
    }
    int requests() const
    {
        return mRequests;
    }
    int cancels() const
    {
        return mCancels;
    }
    // Bytes that the library has taken, or dropped.
    std::uint64_t sent() const
    {
        return mSent;
    }

    // Until all is delivered, cancelled or not.
    bool waitForDelivery(int milliseconds = 60000) const;

    // Stops the delivery, and waits for that.
    void end();

private:
    void deliverAll(const sd::clip::FileDataRequestCallback& sink);
    bool deliverFile(std::size_t index, const sd::clip::FileDataRequestCallback& sink);

    const HANDLE mStop;
    const HANDLE mDelivered;
    std::vector<GuestFile> mFiles;  // not const: the sink takes pointers that could write
    std::vector<sd::clip::ClipfileDescription> mDescriptions;
    const Delivery mDelivery;
    std::atomic<int> mRequests{0};
    std::atomic<int> mCancels{0};
    std::atomic<std::uint64_t> mSent{0};
    std::mutex mThreadMutex;
    std::thread mThread;  // with mEnded, under mThreadMutex
    bool mEnded = false;
};
