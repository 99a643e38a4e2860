// Notes who reads from a stream.
#pragma once

#include <atomic>
#include <thread>

namespace sd::clip {

// The calling thread reads for one scope. Scopes of one thread nest.
class ReadingMark {
public:
    explicit ReadingMark(std::atomic<std::thread::id>& thread)
        : mThread(thread), mBefore(thread.exchange(std::this_thread::get_id()))
    {
    }
    ReadingMark(const ReadingMark&) = delete;
    ReadingMark& operator=(const ReadingMark&) = delete;

    ~ReadingMark()
    {
        mThread = mBefore;
    }

private:
    std::atomic<std::thread::id>& mThread;
    const std::thread::id mBefore;
};

}  // namespace sd::clip
