#include "workthread/job_slot.h"

#include <new>
#include <utility>

#include "base/exception_text.h"
#include "base/log.h"

namespace sd::clip {

namespace {

// Null if there is no memory, for the promise or for the state that it shares with its future.
std::unique_ptr<std::promise<FuncExecStatus>> makePromise()
{
    try {
        return std::unique_ptr<std::promise<FuncExecStatus>>(new (std::nothrow) std::promise<FuncExecStatus>);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

// Callers see a status and no error, so the log is the only place that tells of an exception.
void call(const std::function<void()>& func)
{
    try {
        func();
    } catch (...) {
        CLIP_LOG(kLogError, "A job of the OLE thread failed: %s", DescribeException());
    }
}

}  // namespace

std::function<void()> JobSlot::Discard()
{
    Job job = Take();
    if (job.promise != nullptr)
        job.promise->set_value(FuncExecStatus::Discarded);
    return std::move(job.func);
}

std::future<FuncExecStatus> JobSlot::Place(std::function<void()> func)
{
    ++mJob.id;
    mIsPosted = false;
    mJob.func = std::move(func);
    mJob.promise = makePromise();
    if (mJob.promise == nullptr)
        return {};
    return mJob.promise->get_future();
}

void JobSlot::NotePosted()
{
    mIsPosted = true;
}

std::optional<std::uint32_t> JobSlot::PostedId() const
{
    return mIsPosted ? std::optional(mJob.id) : std::nullopt;
}

Job JobSlot::Take()
{
    mIsPosted = false;
    return Job{mJob.id, std::exchange(mJob.func, nullptr), std::exchange(mJob.promise, nullptr)};
}

void RunJob(Job job, std::uint64_t numberOfMessage)
{
    auto status = FuncExecStatus::Discarded;
    if (job.id == numberOfMessage && job.func) {
        call(job.func);
        status = FuncExecStatus::Executed;
    }
    if (job.promise != nullptr)
        job.promise->set_value(status);
}

}  // namespace sd::clip
