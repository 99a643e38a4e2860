#include "clipboard_win/latest_task_thread.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <utility>
#include <vector>

namespace sd::clip {

class TestAccess {
public:
    // What a post leaves behind that came before the thread's first wait: a filled slot without a broadcast.
    static void fillSlotSilently(LatestTaskThread& thread, std::function<void()> task)
    {
        LockScope lock(thread.mMutex);
        thread.mLatestTask = std::move(task);
    }

    static void pushToQueueSilently(LatestTaskThread& thread, std::function<void()> task)
    {
        LockScope lock(thread.mMutex);
        thread.mTasks.push_back(std::move(task));
    }

    static void broadcast(LatestTaskThread& thread)
    {
        LockScope lock(thread.mMutex);
        thread.mCondition.notify_all();
    }

    static void askToStop(LatestTaskThread& thread)
    {
        LockScope lock(thread.mMutex);
        thread.mStop = true;
        thread.mCondition.notify_all();
    }

    static std::future<bool>& stopped(LatestTaskThread& thread)
    {
        return thread.mStopped;
    }
    static const std::string& name(const LatestTaskThread& thread)
    {
        return thread.mName;
    }
    static bool joinable(const LatestTaskThread& thread)
    {
        return thread.mThread.joinable();
    }

    static std::vector<const void*> members(const LatestTaskThread& thread)
    {
        return {&thread.mName,  &thread.mThread,     &thread.mMutex,          &thread.mCondition, &thread.mStop,
                &thread.mTasks, &thread.mLatestTask, &thread.mStoppedPromise, &thread.mStopped};
    }
};

}  // namespace sd::clip

using sd::clip::LatestTaskThread;
using sd::clip::TestAccess;

namespace {

constexpr auto kLong = std::chrono::seconds(30);

// Something that a task does once and the test waits for. Copies share it, so that it lives as long as the task.
class Signal {
public:
    void set() const
    {
        mState->promise.set_value();
    }
    bool comes() const
    {
        return mState->future.wait_for(kLong) == std::future_status::ready;
    }
    bool hasCome(std::chrono::milliseconds wait) const
    {
        return mState->future.wait_for(wait) == std::future_status::ready;
    }

private:
    struct State {
        std::promise<void> promise;
        std::future<void> future = promise.get_future();
    };
    std::shared_ptr<State> mState = std::make_shared<State>();
};

// A task that tells when it began and then waits to be let go.
struct HeldTask {
    Signal begun;
    Signal goOn;

    void operator()() const
    {
        begun.set();
        goOn.comes();
    }
};

// Until the thread has reached its first wait a post may stay in the slot; this posts until one has run.
void waitForFirstWait(LatestTaskThread& thread)
{
    const auto ran = std::make_shared<std::atomic<bool>>(false);
    while (!*ran) {
        thread.PostLatest([ran] { *ran = true; });
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    // One of the posts may still be in the slot: take its place with a task that is waited for.
    const Signal done;
    thread.PostLatest([done] { done.set(); });
    done.comes();
}

// Until the thread has run a task of its queue. It comes there from its wait alone, and to its wait with an empty slot
// alone: so it has looked at the slot since the end of the task that runs now.
void passQueue(LatestTaskThread& thread)
{
    const Signal passed;
    TestAccess::pushToQueueSilently(thread, [passed] { passed.set(); });
    while (!passed.hasCome(std::chrono::milliseconds(1)))
        TestAccess::broadcast(thread);
}

// What one of several threads has posted.
struct PostedTasks {
    std::atomic<int> posted{0};
    std::atomic<int> runs{0};
    std::atomic<int> newest{0};  // of those that ran
    std::atomic<int> alive{0};
};

// A task that tells of its run and of its end, exactly once.
class CountedTask {
public:
    CountedTask(PostedTasks& tasks, std::atomic<int>& running) : mTasks(tasks), mRunning(running)
    {
        mNumber = ++mTasks.posted;
        ++mTasks.alive;
    }
    ~CountedTask()
    {
        --mTasks.alive;
    }
    CountedTask(const CountedTask&) = delete;
    CountedTask& operator=(const CountedTask&) = delete;

    void run()
    {
        EXPECT_EQ(++mRunning, 1) << "two tasks at once";
        EXPECT_GT(mNumber, mTasks.newest) << "a task that had its turn";
        mTasks.newest = mNumber;
        ++mTasks.runs;
        --mRunning;
    }

private:
    PostedTasks& mTasks;
    std::atomic<int>& mRunning;
    int mNumber = 0;
};

}  // namespace

TEST(LatestTaskThread, RunsATaskOnItsOwnThread)
{
    LatestTaskThread thread;
    waitForFirstWait(thread);
    const auto where = std::make_shared<std::thread::id>();
    const Signal done;
    thread.PostLatest([where, done] {
        *where = std::this_thread::get_id();
        done.set();
    });
    ASSERT_TRUE(done.comes());
    EXPECT_NE(*where, std::thread::id());
    EXPECT_NE(*where, std::this_thread::get_id());
}

TEST(LatestTaskThread, TenPostsWhileATaskRunsLeadToOneFurtherRunOfTheLast)
{
    LatestTaskThread thread;
    waitForFirstWait(thread);
    const HeldTask held;
    thread.PostLatest(held);
    ASSERT_TRUE(held.begun.comes());

    std::atomic<int> runs{0};
    std::atomic<int> last{0};
    const Signal done;
    for (int i = 1; i <= 10; ++i) {
        thread.PostLatest([&runs, &last, done, i] {
            ++runs;
            last = i;
            if (i == 10)
                done.set();
        });
    }
    held.goOn.set();
    ASSERT_TRUE(done.comes());
    EXPECT_EQ(runs, 1);
    EXPECT_EQ(last, 10);
}

TEST(LatestTaskThread, ATaskMayPostTheNextOne)
{
    LatestTaskThread thread;
    waitForFirstWait(thread);
    const Signal done;
    thread.PostLatest([&thread, done] { thread.PostLatest([done] { done.set(); }); });
    EXPECT_TRUE(done.comes());
}

TEST(LatestTaskThread, AnEmptyTaskTakesThePlaceOfOneThatWaitsAndIsNotRun)
{
    LatestTaskThread thread;
    waitForFirstWait(thread);
    const HeldTask held;
    thread.PostLatest(held);
    ASSERT_TRUE(held.begun.comes());
    const auto hasRun = std::make_shared<std::atomic<bool>>(false);
    thread.PostLatest([hasRun] { *hasRun = true; });
    thread.PostLatest(nullptr);
    held.goOn.set();
    passQueue(thread);
    EXPECT_FALSE(*hasRun);
}

TEST(LatestTaskThread, APostBeforeTheFirstWaitRunsAtTheNextBroadcast)
{
    LatestTaskThread thread;
    waitForFirstWait(thread);
    const Signal done;
    TestAccess::fillSlotSilently(thread, [done] { done.set(); });
    TestAccess::broadcast(thread);
    EXPECT_TRUE(done.comes());
}

TEST(LatestTaskThread, TheQueueRunsInItsOrderAndBeforeTheLatestTask)
{
    LatestTaskThread thread;
    waitForFirstWait(thread);
    const HeldTask held;
    TestAccess::pushToQueueSilently(thread, held);
    // The thread looks at its queue after a broadcast only, and may not have been waiting for one yet.
    while (!held.begun.hasCome(std::chrono::milliseconds(1)))
        TestAccess::broadcast(thread);

    std::vector<int> order;  // touched by the thread's tasks, and here only after the last
    const Signal done;
    thread.PostLatest([&order, done] {
        order.push_back(3);
        done.set();
    });
    TestAccess::pushToQueueSilently(thread, [&order] { order.push_back(1); });
    TestAccess::pushToQueueSilently(thread, nullptr);
    TestAccess::pushToQueueSilently(thread, [&order] { order.push_back(2); });
    held.goOn.set();
    ASSERT_TRUE(done.comes());
    EXPECT_EQ(order, (std::vector<int>{1, 2, 3}));
}

TEST(LatestTaskThread, AReplacedTaskIsDestroyedWithoutTheLock)
{
    LatestTaskThread thread;
    waitForFirstWait(thread);
    const HeldTask held;
    thread.PostLatest(held);
    ASSERT_TRUE(held.begun.comes());
    // What the replaced task holds posts in its destructor, which would dead lock under the mutex.
    const Signal destroyed;
    std::shared_ptr<void> posting(nullptr, [&thread, destroyed](void*) {
        thread.PostLatest(nullptr);
        destroyed.set();
    });
    thread.PostLatest([kept = std::move(posting)] {});
    EXPECT_FALSE(destroyed.hasCome(std::chrono::milliseconds(0)));
    thread.PostLatest([] {});
    EXPECT_TRUE(destroyed.hasCome(std::chrono::milliseconds(0)));
    held.goOn.set();
}

TEST(LatestTaskThread, ATaskThatHasRunIsDestroyedWithoutTheLock)
{
    LatestTaskThread thread;
    waitForFirstWait(thread);
    const Signal destroyed;
    std::shared_ptr<void> posting(nullptr, [&thread, destroyed](void*) {
        thread.PostLatest(nullptr);
        destroyed.set();
    });
    thread.PostLatest([kept = std::move(posting)] {});
    EXPECT_TRUE(destroyed.comes());
}

TEST(LatestTaskThread, IsDetachedFromTheStartAndDetachingAgainDoesNothing)
{
    LatestTaskThread thread;
    EXPECT_FALSE(TestAccess::joinable(thread));
    thread.Detach();
    thread.Detach();
    EXPECT_FALSE(TestAccess::joinable(thread));
}

TEST(LatestTaskThread, TheStopFlagEndsTheLoopAndSetsThePromise)
{
    LatestTaskThread thread;
    TestAccess::askToStop(thread);
    ASSERT_EQ(TestAccess::stopped(thread).wait_for(kLong), std::future_status::ready);
    EXPECT_TRUE(TestAccess::stopped(thread).get());
}

TEST(LatestTaskThread, DestroyedAtOnceItEndsItsThread)
{
    for (int i = 0; i < 50; ++i)
        LatestTaskThread thread;
}

TEST(LatestTaskThread, DestroyedDuringATaskItWaitsForTheTask)
{
    std::atomic<bool> finished{false};
    {
        LatestTaskThread thread;
        waitForFirstWait(thread);
        const Signal begun;
        thread.PostLatest([&finished, begun] {
            begun.set();
            std::this_thread::sleep_for(std::chrono::milliseconds(30));
            finished = true;
        });
        ASSERT_TRUE(begun.comes());
    }
    EXPECT_TRUE(finished);
}

TEST(LatestTaskThread, OfTasksOfManyThreadsEachRunsOnceAtTheMostInItsThreadsOrder)
{
    constexpr int kThreads = 4;
    std::array<PostedTasks, kThreads> tasks;
    std::atomic<int> running{0};
    {
        LatestTaskThread thread;
        waitForFirstWait(thread);
        std::vector<std::thread> posters;
        for (PostedTasks& own : tasks) {
            // Until tasks of this thread have run, so that posts and runs do meet.
            posters.emplace_back([&thread, &running, &own] {
                while (own.posted < 1000 || own.runs < 5) {
                    thread.PostLatest([task = std::make_shared<CountedTask>(own, running)] { task->run(); });
                    if (own.posted % 100 == 0)
                        std::this_thread::yield();
                }
            });
        }
        for (std::thread& poster : posters)
            poster.join();
        passQueue(thread);
    }
    bool isLastRun = false;
    for (const PostedTasks& own : tasks) {
        EXPECT_EQ(own.alive, 0);
        isLastRun = isLastRun || own.newest == own.posted;
    }
    EXPECT_TRUE(isLastRun);  // the last of all is the last of some thread
}

TEST(LatestTaskThread, MembersStandInTheirOrder)
{
    LatestTaskThread thread;
    EXPECT_EQ(TestAccess::name(thread), "default");
    const auto members = TestAccess::members(thread);
    for (std::size_t i = 1; i < members.size(); ++i)
        EXPECT_LT(members[i - 1], members[i]) << "member " << i;
}
