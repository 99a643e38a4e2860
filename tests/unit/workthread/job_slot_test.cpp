#include "workthread/job_slot.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "support/failing_allocation.h"
#include "support/recording_log.h"

namespace sd::clip {

class TestAccess {
public:
    static const Job& job(const JobSlot& slot)
    {
        return slot.mJob;
    }
};

}  // namespace sd::clip

using namespace sd::clip;

namespace {

constexpr std::chrono::seconds kNow{0};

bool isReady(const std::future<FuncExecStatus>& future)
{
    return future.wait_for(kNow) == std::future_status::ready;
}

void doNothing() {}

}  // namespace

TEST(JobSlot, IsBornEmptyWithTheNumberZero)
{
    JobSlot slot;
    EXPECT_EQ(slot.Id(), 0u);
    const Job job = slot.Take();
    EXPECT_EQ(job.id, 0u);
    EXPECT_FALSE(job.func);
    EXPECT_EQ(job.promise, nullptr);
}

TEST(JobSlot, NumbersStartAtOneAndRiseByOne)
{
    JobSlot slot;
    for (std::uint32_t number = 1; number <= 3; ++number) {
        slot.Discard();
        slot.Place(doNothing);
        EXPECT_EQ(slot.Id(), number);
    }
}

TEST(JobSlot, ThePlacedJobIsTakenOnceAndItsNumberStays)
{
    JobSlot slot;
    int calls = 0;
    const auto future = slot.Place([&calls] { ++calls; });
    ASSERT_TRUE(future.valid());
    const Job job = slot.Take();
    EXPECT_EQ(job.id, 1u);
    ASSERT_TRUE(job.func);
    job.func();
    EXPECT_EQ(calls, 1);
    EXPECT_NE(job.promise, nullptr);

    const Job nothing = slot.Take();
    EXPECT_EQ(nothing.id, 1u);
    EXPECT_FALSE(nothing.func);
    EXPECT_EQ(nothing.promise, nullptr);
}

TEST(JobSlot, DiscardingTellsTheWaiterAndGivesTheFunctionBack)
{
    JobSlot slot;
    int calls = 0;
    auto future = slot.Place([&calls] { ++calls; });
    EXPECT_FALSE(isReady(future));
    const std::function<void()> func = slot.Discard();
    ASSERT_TRUE(isReady(future));
    EXPECT_EQ(future.get(), FuncExecStatus::Discarded);
    ASSERT_TRUE(func);
    func();
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(slot.Id(), 1u);
    EXPECT_FALSE(TestAccess::job(slot).func);
    EXPECT_EQ(TestAccess::job(slot).promise, nullptr);
}

TEST(JobSlot, AJobWaitsForItsMessageFromThePostUntilItLeavesTheSlot)
{
    JobSlot slot;
    EXPECT_FALSE(slot.PostedId());
    slot.Place(doNothing);
    EXPECT_FALSE(slot.PostedId());  // its post may fail
    slot.NotePosted();
    EXPECT_EQ(slot.PostedId(), 1u);
    slot.Take();
    EXPECT_FALSE(slot.PostedId());

    slot.Place(doNothing);
    slot.NotePosted();
    EXPECT_EQ(slot.PostedId(), 2u);
    slot.Discard();
    EXPECT_FALSE(slot.PostedId());

    slot.Place(doNothing);
    EXPECT_FALSE(slot.PostedId());
}

TEST(JobSlot, DiscardingAnEmptySlotDoesNothing)
{
    JobSlot slot;
    EXPECT_FALSE(slot.Discard());
    EXPECT_EQ(slot.Id(), 0u);
}

TEST(JobSlot, AFunctionTakenByDiscardingIsDestroyedByTheCaller)
{
    JobSlot slot;
    auto held = std::make_shared<int>(0);
    const std::weak_ptr<int> watch = held;
    slot.Place([kept = std::move(held)] {});
    {
        const std::function<void()> func = slot.Discard();
        EXPECT_FALSE(watch.expired());
    }
    EXPECT_TRUE(watch.expired());
}

// Each of the allocations that a promise needs fails in its turn.
TEST(JobSlot, WithoutMemoryForAPromiseThereIsNoFutureAndTheNumberRises)
{
    JobSlot slot;
    const std::function<void()> job = doNothing;
    std::uint32_t failures = 0;
    for (int which = 1;; ++which) {
        slot.Discard();
        std::function<void()> copy = job;
        FailingAllocation failing(which);
        const auto future = slot.Place(std::move(copy));
        if (!failing.failed()) {
            EXPECT_TRUE(future.valid());
            break;
        }
        ++failures;
        EXPECT_FALSE(future.valid()) << "allocation " << which;
        EXPECT_EQ(slot.Id(), failures);
        EXPECT_TRUE(TestAccess::job(slot).func);
        EXPECT_EQ(TestAccess::job(slot).promise, nullptr);
    }
    EXPECT_GE(failures, 2u);
    EXPECT_EQ(slot.Id(), failures + 1);
}

TEST(JobSlot, ADestroyedSlotFreesWhatItHolds)
{
    auto held = std::make_shared<int>(0);
    const std::weak_ptr<int> watch = held;
    {
        JobSlot slot;
        slot.Place([kept = std::move(held)] {});
        EXPECT_FALSE(watch.expired());
    }
    EXPECT_TRUE(watch.expired());
}

TEST(Job, HoldsNumberFunctionAndPromiseInThisOrder)
{
    const Job job;
    EXPECT_LT(static_cast<const void*>(&job.id), static_cast<const void*>(&job.func));
    EXPECT_LT(static_cast<const void*>(&job.func), static_cast<const void*>(&job.promise));
}

TEST(RunJob, TheRightNumberRunsTheFunctionAndThenTells)
{
    JobSlot slot;
    bool readyDuringCall = true;
    int calls = 0;
    std::future<FuncExecStatus> future;
    future = slot.Place([&] {
        ++calls;
        readyDuringCall = isReady(future);
    });
    RunJob(slot.Take(), 1);
    EXPECT_EQ(calls, 1);
    EXPECT_FALSE(readyDuringCall);
    ASSERT_TRUE(isReady(future));
    EXPECT_EQ(future.get(), FuncExecStatus::Executed);
    EXPECT_TRUE(RecordingLog::lines().empty());
}

TEST(RunJob, AnotherNumberDiscardsWithoutRunning)
{
    constexpr std::uint64_t kBeyond32Bits = 0x100000001;  // the number 1 only if its upper half were dropped
    for (const std::uint64_t number : {std::uint64_t{0}, std::uint64_t{2}, kBeyond32Bits}) {
        JobSlot slot;
        int calls = 0;
        auto future = slot.Place([&calls] { ++calls; });
        RunJob(slot.Take(), number);
        EXPECT_EQ(calls, 0) << number;
        ASSERT_TRUE(isReady(future)) << number;
        EXPECT_EQ(future.get(), FuncExecStatus::Discarded) << number;
    }
}

TEST(RunJob, AnEmptySlotGivesNothingToDo)
{
    JobSlot slot;
    auto future = slot.Place(doNothing);
    slot.Discard();
    RunJob(slot.Take(), 1);  // the message of the withdrawn job
    EXPECT_EQ(future.get(), FuncExecStatus::Discarded);
    EXPECT_TRUE(RecordingLog::lines().empty());
}

TEST(RunJob, AJobWithoutAFunctionIsDiscarded)
{
    Job job;
    job.id = 7;
    job.promise = std::make_unique<std::promise<FuncExecStatus>>();
    auto future = job.promise->get_future();
    RunJob(std::move(job), 7);
    ASSERT_TRUE(isReady(future));
    EXPECT_EQ(future.get(), FuncExecStatus::Discarded);
}

TEST(RunJob, AJobThatThrowsCountsAsExecutedAndIsLogged)
{
    JobSlot slot;
    auto future = slot.Place([] { throw std::runtime_error("no good"); });
    EXPECT_NO_THROW(RunJob(slot.Take(), 1));
    ASSERT_TRUE(isReady(future));
    EXPECT_EQ(future.get(), FuncExecStatus::Executed);
    EXPECT_EQ(RecordingLog::messages(6), std::vector<std::string>{"A job of the OLE thread failed: no good"});
    EXPECT_EQ(RecordingLog::lines().size(), 1u);
}

TEST(RunJob, AJobThatThrowsSomethingElseIsLoggedToo)
{
    JobSlot slot;
    auto future = slot.Place([] { throw 5; });  // NOLINT: what is no exception class is thrown on purpose
    EXPECT_NO_THROW(RunJob(slot.Take(), 1));
    EXPECT_EQ(future.get(), FuncExecStatus::Executed);
    EXPECT_EQ(RecordingLog::messages(6), std::vector<std::string>{"A job of the OLE thread failed: unknown exception"});
}

TEST(RunJob, WhatTheFunctionHoldsGoesAfterTheReport)
{
    JobSlot slot;
    std::future<FuncExecStatus> future;
    bool reportedBefore = false;
    std::shared_ptr<void> held(nullptr, [&](void*) { reportedBefore = isReady(future); });
    future = slot.Place([kept = std::move(held)] {});
    RunJob(slot.Take(), 1);
    EXPECT_TRUE(reportedBefore);
}

TEST(RunJob, NobodyNeedsToKeepTheFuture)
{
    JobSlot slot;
    int calls = 0;
    slot.Place([&calls] { ++calls; });
    RunJob(slot.Take(), 1);
    slot.Place([&calls] { ++calls; });
    slot.Discard();
    EXPECT_EQ(calls, 1);
}

// Callers that place and withdraw, and a thread that takes, all under one lock as the owner has it.
TEST(JobSlot, EveryPlacedJobIsEitherExecutedOrDiscardedAcrossThreads)
{
    constexpr int kCallers = 3;
    constexpr int kJobsOfEach = 500;
    JobSlot slot;
    std::mutex mutex;
    std::atomic<int> ran{0};
    std::atomic<int> executed{0};
    std::atomic<int> discarded{0};
    std::atomic<bool> stop{false};
    std::thread runner([&] {
        while (!stop) {
            Job job;
            {
                const std::lock_guard<std::mutex> lock(mutex);
                job = slot.Take();
            }
            const std::uint32_t number = job.id;
            RunJob(std::move(job), number);
            std::this_thread::yield();
        }
    });
    std::vector<std::thread> callers;
    for (int caller = 0; caller < kCallers; ++caller) {
        callers.emplace_back([&] {
            for (int i = 0; i < kJobsOfEach; ++i) {
                std::future<FuncExecStatus> future;
                {
                    const std::lock_guard<std::mutex> lock(mutex);
                    slot.Discard();
                    future = slot.Place([&ran] { ++ran; });
                }
                ++(future.get() == FuncExecStatus::Executed ? executed : discarded);
            }
        });
    }
    for (std::thread& caller : callers)
        caller.join();
    stop = true;
    runner.join();
    EXPECT_EQ(executed + discarded, kCallers * kJobsOfEach);
    EXPECT_EQ(ran, executed);
}
