#include "data_object/data_lock.h"

#include <deque>
#include <memory>
#include <utility>

namespace sd::clip {

namespace {

using WaitingFunctions = std::deque<std::function<void()>>;

// Without a destructor, on purpose: MinGW-w64's runtime frees a thread's variables before it destroys them.
struct ThreadState {
    int depth;
    WaitingFunctions* waiting;  // while functions wait; deleted when the last has run
};

ThreadState& threadState()
{
    thread_local ThreadState state = {0, nullptr};
    return state;
}

void runWaiting(ThreadState& state)
{
    while (state.waiting != nullptr) {
        const std::unique_ptr<WaitingFunctions> functions(std::exchange(state.waiting, nullptr));
        for (const std::function<void()>& function : *functions)
            function();
    }
}

}  // namespace

void DataLock::lock()
{
    if (!isMine()) {
        mMutex.lock();
        mOwner = std::this_thread::get_id();
    }
    ++mDepth;
}

bool DataLock::try_lock()
{
    if (!isMine()) {
        if (!mMutex.try_lock())
            return false;
        mOwner = std::this_thread::get_id();
    }
    ++mDepth;
    return true;
}

void DataLock::unlock()
{
    if (--mDepth > 0)
        return;
    mOwner = std::thread::id();
    mMutex.unlock();
}

// No other thread writes this one's id.
bool DataLock::isMine() const
{
    return mOwner == std::this_thread::get_id();
}

DataLockScope::DataLockScope(DataLock& mutex) : mMutex(mutex)
{
    mMutex.lock();
    ++threadState().depth;
}

DataLockScope::~DataLockScope()
{
    ThreadState& state = threadState();
    mMutex.unlock();
    if (--state.depth == 0)
        runWaiting(state);
}

void DataLockScope::runWithoutLock(std::function<void()> function)
{
    ThreadState& state = threadState();
    if (state.depth == 0) {
        function();
        return;
    }
    if (state.waiting == nullptr)
        state.waiting = new WaitingFunctions;
    state.waiting->push_back(std::move(function));
}

bool DataLockScope::isHeldByThisThread()
{
    return threadState().depth > 0;
}

}  // namespace sd::clip
