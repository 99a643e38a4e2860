#include "clipboard_win/latest_task_thread.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <vector>

namespace sd::clip {

class TestAccess {
public:
    // What a post leaves behind that came before the thread's first wait: a filled slot without a broadcast.
    static void fillSlotSilently(LatestTaskThread& thread, std::function<void()> task)
    {
        std::lock_guard<std::mutex> lock(thread.mMutex);
        thread.mLatestTask = std::move(task);
    }

    static void pushToQueueSilently(LatestTaskThread& thread, std::function<void()> task)
    {
        std::lock_guard<std::mutex> lock(thread.mMutex);
        thread.mTasks.push_back(std::move(task));
    }

    static void broadcast(LatestTaskThread& thread)
    {
        std::lock_guard<std::mutex> lock(thread.mMutex);
        thread.mCondition.notify_all();
    }

    static void askToStop(LatestTaskThread& thread)
    {
        std::lock_guard<std::mutex> lock(thread.mMutex);
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

constexpr auto kLong = std::chrono::seconds(10);

bool becomesReady(std::future<void>& future)
{
    return future.wait_for(kLong) == std::future_status::ready;
}

// A task that tells when it began and then waits to be let go.
struct HeldTask {
    std::promise<void> begunPromise;
    std::future<void> begun = begunPromise.get_future();
    std::promise<void> goOn;
    std::shared_future<void> mayGoOn = goOn.get_future().share();

    void operator()()
    {
        begunPromise.set_value();
        mayGoOn.wait();
    }
};

// Until the thread has reached its first wait a post may stay in the slot; this posts until one has run.
void waitForFirstWait(LatestTaskThread& thread)
{
    std::atomic<bool> ran{false};
    while (!ran) {
        thread.PostLatest([&ran] { ran = true; });
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    // One of the posts may still be in the slot: take its place with a task that is waited for.
    std::promise<void> done;
    auto isDone = done.get_future();
    thread.PostLatest([&done] { done.set_value(); });
    isDone.wait();
}

}  // namespace

TEST(LatestTaskThread, RunsATaskOnItsOwnThread)
{
    LatestTaskThread thread;
    waitForFirstWait(thread);
    std::promise<std::thread::id> ran;
    auto where = ran.get_future();
    thread.PostLatest([&ran] { ran.set_value(std::this_thread::get_id()); });
    ASSERT_EQ(where.wait_for(kLong), std::future_status::ready);
    EXPECT_NE(where.get(), std::this_thread::get_id());
}

TEST(LatestTaskThread, TenPostsWhileATaskRunsLeadToOneFurtherRunOfTheLast)
{
    LatestTaskThread thread;
    waitForFirstWait(thread);
    HeldTask held;
    thread.PostLatest([&held] { held(); });
    ASSERT_TRUE(becomesReady(held.begun));

    std::atomic<int> runs{0};
    std::atomic<int> last{0};
    std::promise<void> done;
    auto isDone = done.get_future();
    for (int i = 1; i <= 10; ++i) {
        thread.PostLatest([&runs, &last, &done, i] {
            ++runs;
            last = i;
            if (i == 10)
                done.set_value();
        });
    }
    held.goOn.set_value();
    ASSERT_TRUE(becomesReady(isDone));
    EXPECT_EQ(runs, 1);
    EXPECT_EQ(last, 10);
}

TEST(LatestTaskThread, ATaskMayPostTheNextOne)
{
    LatestTaskThread thread;
    waitForFirstWait(thread);
    std::promise<void> done;
    auto isDone = done.get_future();
    thread.PostLatest([&] { thread.PostLatest([&done] { done.set_value(); }); });
    EXPECT_TRUE(becomesReady(isDone));
}

TEST(LatestTaskThread, AnEmptyTaskIsNotRun)
{
    LatestTaskThread thread;
    waitForFirstWait(thread);
    thread.PostLatest(nullptr);
    std::promise<void> done;
    auto isDone = done.get_future();
    thread.PostLatest([&done] { done.set_value(); });
    EXPECT_TRUE(becomesReady(isDone));
}

TEST(LatestTaskThread, APostBeforeTheFirstWaitRunsAtTheNextBroadcast)
{
    LatestTaskThread thread;
    waitForFirstWait(thread);
    std::promise<void> done;
    auto isDone = done.get_future();
    TestAccess::fillSlotSilently(thread, [&done] { done.set_value(); });
    TestAccess::broadcast(thread);
    EXPECT_TRUE(becomesReady(isDone));
}

TEST(LatestTaskThread, TheQueueRunsInItsOrderAndBeforeTheLatestTask)
{
    LatestTaskThread thread;
    waitForFirstWait(thread);
    HeldTask held;
    TestAccess::pushToQueueSilently(thread, [&held] { held(); });
    TestAccess::broadcast(thread);
    ASSERT_TRUE(becomesReady(held.begun));

    std::vector<int> order;  // touched by the thread's tasks, and here only after the last
    std::promise<void> done;
    auto isDone = done.get_future();
    thread.PostLatest([&order, &done] {
        order.push_back(3);
        done.set_value();
    });
    TestAccess::pushToQueueSilently(thread, [&order] { order.push_back(1); });
    TestAccess::pushToQueueSilently(thread, nullptr);
    TestAccess::pushToQueueSilently(thread, [&order] { order.push_back(2); });
    held.goOn.set_value();
    ASSERT_TRUE(becomesReady(isDone));
    EXPECT_EQ(order, (std::vector<int>{1, 2, 3}));
}

TEST(LatestTaskThread, AReplacedTaskIsDestroyedWithoutTheLock)
{
    LatestTaskThread thread;
    waitForFirstWait(thread);
    HeldTask held;
    thread.PostLatest([&held] { held(); });
    ASSERT_TRUE(becomesReady(held.begun));
    // What the replaced task holds posts in its destructor, which would dead lock under the mutex.
    const std::shared_ptr<void> posting(nullptr, [&thread](void*) { thread.PostLatest(nullptr); });
    thread.PostLatest([copy = posting] {});
    thread.PostLatest([] {});
    held.goOn.set_value();
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
        std::promise<void> begun;
        auto hasBegun = begun.get_future();
        thread.PostLatest([&] {
            begun.set_value();
            std::this_thread::sleep_for(std::chrono::milliseconds(30));
            finished = true;
        });
        ASSERT_TRUE(becomesReady(hasBegun));
    }
    EXPECT_TRUE(finished);
}

TEST(LatestTaskThread, ManyThreadsMayPostAtOnce)
{
    LatestTaskThread thread;
    waitForFirstWait(thread);
    std::atomic<int> runs{0};
    std::vector<std::thread> posters;
    for (int i = 0; i < 4; ++i) {
        posters.emplace_back([&] {
            for (int k = 0; k < 1000; ++k)
                thread.PostLatest([&runs] { ++runs; });
        });
    }
    for (std::thread& poster : posters)
        poster.join();
    std::promise<void> done;
    auto isDone = done.get_future();
    thread.PostLatest([&done] { done.set_value(); });
    ASSERT_TRUE(becomesReady(isDone));
    EXPECT_GE(runs, 1);
    EXPECT_LE(runs, 4000);
}

TEST(LatestTaskThread, MembersStandInTheirOrder)
{
    LatestTaskThread thread;
    EXPECT_EQ(TestAccess::name(thread), "default");
    const auto members = TestAccess::members(thread);
    for (std::size_t i = 1; i < members.size(); ++i)
        EXPECT_LT(members[i - 1], members[i]) << "member " << i;
}
