// A thread that joined OLE, as a host's delivery thread or a pasting application may. Between the functions that it is
// asked to run it pumps no messages.
#pragma once

#include <ole2.h>

#include <condition_variable>
#include <deque>
#include <functional>
#include <future>
#include <mutex>
#include <thread>

class OleThread {
public:
    OleThread() : mThread([this] { serve(); }) {}
    ~OleThread()
    {
        {
            const std::lock_guard<std::mutex> lock(mMutex);
            mEnds = true;
        }
        mChanged.notify_one();
        mThread.join();
    }
    OleThread(const OleThread&) = delete;
    OleThread& operator=(const OleThread&) = delete;

    // Functions run one after the other, in the order in which they came.
    std::future<void> start(std::function<void()> function)
    {
        std::packaged_task<void()> task(std::move(function));
        std::future<void> done = task.get_future();
        {
            const std::lock_guard<std::mutex> lock(mMutex);
            mTasks.push_back(std::move(task));
        }
        mChanged.notify_one();
        return done;
    }

    void run(std::function<void()> function)
    {
        start(std::move(function)).get();
    }

    std::thread::id id() const
    {
        return mThread.get_id();
    }

private:
    void serve()
    {
        OleInitialize(nullptr);
        std::unique_lock<std::mutex> lock(mMutex);
        for (;;) {
            mChanged.wait(lock, [this] { return mEnds || !mTasks.empty(); });
            if (mTasks.empty())
                break;
            std::packaged_task<void()> task = std::move(mTasks.front());
            mTasks.pop_front();
            lock.unlock();
            task();
            task = {};
            lock.lock();
        }
        lock.unlock();
        OleUninitialize();
    }

    std::mutex mMutex;
    std::condition_variable mChanged;
    std::deque<std::packaged_task<void()>> mTasks;  // guarded by mMutex
    bool mEnds = false;                             // guarded by mMutex
    std::thread mThread;
};
