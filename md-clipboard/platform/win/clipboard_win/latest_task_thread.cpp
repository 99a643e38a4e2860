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
        LockScope lock(mMutex);
        mStop = true;
        mCondition.notify_all();
    }
    if (mStopped.valid())
        mStopped.wait();
}

void LatestTaskThread::PostLatest(std::function<void()> task)
{
    LockScope lock(mMutex);
    // The replaced task goes with `task`, after the lock: what it holds may run somebody's destructor.
    std::swap(mLatestTask, task);
    mCondition.notify_all();
}

void LatestTaskThread::Detach()
{
    if (mThread.joinable())
        mThread.detach();
}

// Whoever waits for the promise may destroy the object, so it is set last, and from here.
void LatestTaskThread::run()
{
    serve().set_value(true);
}

// @return what tells that the thread has stopped
std::promise<bool> LatestTaskThread::serve()
{
    LockScope lock(mMutex);
    while (!mStop) {
        waitFor(mCondition, mMutex);
        runQueue();
        runLatest();
    }
    return std::move(mStoppedPromise);
}

void LatestTaskThread::runQueue()
{
    while (!mTasks.empty()) {
        std::function<void()> task = std::move(mTasks.front());
        mTasks.pop_front();
        runUnlocked(std::move(task));
    }
}

void LatestTaskThread::runLatest()
{
    while (mLatestTask) {
        runUnlocked(std::exchange(mLatestTask, nullptr));
    }
}

// The task is destroyed without the lock too: what it holds may run somebody's destructor.
void LatestTaskThread::runUnlocked(std::function<void()> task)
{
    UnlockScope unlock(mMutex);
    if (task)
        task();
    task = nullptr;
}

}  // namespace sd::clip
