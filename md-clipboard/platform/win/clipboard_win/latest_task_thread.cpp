#include "clipboard_win/latest_task_thread.h"

#include <utility>

namespace sd::clip {

// The thread starts here and not with the members, since it uses those that are declared behind it.
LatestTaskThread::LatestTaskThread() : mStopped(mStoppedPromise.get_future())
{
    mThread = std::thread(&LatestTaskThread::run, this);
    Detach();
}

LatestTaskThread::~LatestTaskThread()
{
    {
        std::lock_guard<std::mutex> lock(mMutex);
        mStop = true;
        mCondition.notify_all();
    }
    if (mStopped.valid())
        mStopped.wait();
}

void LatestTaskThread::PostLatest(std::function<void()> task)
{
    std::lock_guard<std::mutex> lock(mMutex);
    // The replaced task goes with `task`, after the lock: what it holds may run somebody's destructor.
    std::swap(mLatestTask, task);
    mCondition.notify_all();
}

void LatestTaskThread::Detach()
{
    if (mThread.joinable())
        mThread.detach();
}

void LatestTaskThread::run()
{
    std::unique_lock<std::mutex> lock(mMutex);
    for (;;) {
        if (mStop) {
            // Whoever waits for this may destroy the object, so the promise is set last, and from here.
            std::promise<bool> stopped = std::move(mStoppedPromise);
            lock.unlock();
            stopped.set_value(true);
            return;
        }
        mCondition.wait(lock);
        runQueue(lock);
        runLatest(lock);
    }
}

void LatestTaskThread::runQueue(std::unique_lock<std::mutex>& lock)
{
    while (!mTasks.empty()) {
        std::function<void()> task = std::move(mTasks.front());
        mTasks.pop_front();
        runUnlocked(std::move(task), lock);
    }
}

void LatestTaskThread::runLatest(std::unique_lock<std::mutex>& lock)
{
    while (mLatestTask) {
        runUnlocked(std::exchange(mLatestTask, nullptr), lock);
    }
}

// The task is destroyed without the lock too: what it holds may run somebody's destructor.
void LatestTaskThread::runUnlocked(std::function<void()> task, std::unique_lock<std::mutex>& lock)
{
    lock.unlock();
    if (task)
        task();
    task = nullptr;
    lock.lock();
}

}  // namespace sd::clip
