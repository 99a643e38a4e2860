// A thread with one slot for the latest task.
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <future>
#include <string>
#include <thread>

#include "base/annotated_mutex.h"

namespace sd::clip {

// A newer task takes the place of one that has not started; a task that runs is not disturbed. So a burst of changes
// costs one run beyond the one under way, and the last change is never lost.
//
// Threads: PostLatest and Detach from any thread. Tasks run on the object's own thread, without a lock held. A task
// may post. The engine's object is never destroyed, so its thread ends with the process.
class LatestTaskThread {
public:
    // Throws std::system_error where the system has no thread left.
    LatestTaskThread();

    // Ends the thread and waits for the task that runs. Not to be called from a task.
    ~LatestTaskThread();

    LatestTaskThread(const LatestTaskThread&) = delete;
    LatestTaskThread& operator=(const LatestTaskThread&) = delete;

    // Puts the task into the slot, over one that has not started yet. A post before the thread reached its first wait
    // stays in the slot until the next post: the wait has no predicate. The engine's first notification comes long
    // after.
    void PostLatest(std::function<void()> task);

    // Lets the thread live without its std::thread object. The constructor has done so already: nothing ever joins it,
    // and a second call does nothing.
    void Detach();

private:
    friend class TestAccess;

    void run() CLIP_EXCLUDES(mMutex);
    std::promise<bool> serve() CLIP_EXCLUDES(mMutex);
    void runQueue() CLIP_REQUIRES(mMutex);
    void runLatest() CLIP_REQUIRES(mMutex);
    void runUnlocked(std::function<void()> task) CLIP_REQUIRES(mMutex);

    std::string mName CLIP_UNGUARDED("read by nothing") = "default";  // a label
    std::thread mThread CLIP_UNGUARDED("let go by the constructor, and only looked at afterwards");
    Mutex mMutex;
    std::condition_variable mCondition CLIP_UNGUARDED("safe by itself");
    bool mStop CLIP_GUARDED_BY(mMutex) = false;
    std::deque<std::function<void()>> mTasks CLIP_GUARDED_BY(mMutex);  // first in first out; the engine never fills it
    std::function<void()> mLatestTask CLIP_GUARDED_BY(mMutex);
    std::promise<bool> mStoppedPromise CLIP_GUARDED_BY(mMutex);
    std::future<bool> mStopped CLIP_UNGUARDED("the constructor's and the destructor's alone");
};

}  // namespace sd::clip
