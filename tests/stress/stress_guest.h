// The guest of the stress tests: its lists, honest and hostile, and the one thread of the host that delivers them.
#pragma once

#include <windows.h>

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "sd/clip/clipboard_data.h"
#include "seeded_random.h"

// The bytes of every file of that size.
std::string contentsOf(std::size_t size);

using FileList = std::vector<sd::clip::ClipfileDescription>;

// Delivers each list that is asked for, at once and whole, whatever has become of it. Keeps sinks after the end, and
// goes on delivering through them now and then. Never destroyed, as the records that know it may outlive the test.
class StressGuest {
public:
    static StressGuest& shared();

    // A list that the library takes.
    FileList makeHonestList(SeededRandom& random);

    // A list that it refuses, or takes though it is odd.
    FileList makeHostileList(SeededRandom& random);

    // For the streamed route. Its paste function refuses one paste in some.
    std::shared_ptr<sd::clip::ClipboardFileDataImpl> makeStreamedRecord(FileList files, int vetoOneIn);

    // For the placeholder route. Its callback sometimes sets the next list.
    std::shared_ptr<sd::clip::ClipboardFileDataExImpl> makeLazyRecord(FileList files);

    // Any record at all, null among them.
    std::shared_ptr<sd::clip::ClipboardData> makeAnyRecord(SeededRandom& random);

    // Until nothing is left to deliver; then lets go of the sinks.
    void finishDeliveries();

    // How often a request, a cancel or a landing was told.
    int requests() const
    {
        return mRequests;
    }
    int landings() const
    {
        return mLandings;
    }
    int cancels() const
    {
        return mCancels;
    }

private:
    struct Request {
        sd::clip::FileDataRequestCallback sink;
        std::shared_ptr<const FileList> files;
    };

    StressGuest();
    void add(Request request);
    void serve();
    static void deliver(const Request& request);
    void deliverThroughAnOldSink(std::vector<Request>& old, SeededRandom& random);
    int land(const std::shared_ptr<sd::clip::ClipboardFileDataEx>& data);

    std::atomic<int> mRequests{0};
    std::atomic<int> mCancels{0};
    std::atomic<int> mLandings{0};
    std::atomic<int> mPastes{0};

    std::mutex mMutex;
    std::condition_variable mChanged;
    std::deque<Request> mWaiting;  // guarded by mMutex
    bool mIsBusy = false;          // guarded by mMutex
    bool mForgetsSinks = false;    // guarded by mMutex
    std::thread mThread;
};
