// The one job that can wait for the thread that owns OLE.
#pragma once

#include <cstdint>
#include <functional>
#include <future>
#include <memory>
#include <optional>

#include "sd/clip/clipboard_data.h"

namespace sd::clip {

struct Job {
    std::uint32_t id = 0;
    std::function<void()> func;                             // empty if there is no job
    std::unique_ptr<std::promise<FuncExecStatus>> promise;  // null if there is no job
};

// Holds a job until its message is processed. A newer job takes the place of one that waits: there is no queue, by
// design, and whoever asked for the older one is told.
//
// Threads: no lock of its own, its owner calls every operation under one lock.
class JobSlot {
public:
    // Empties the slot; the future of a job that waited becomes Discarded. Returns the job's function, since what that
    // holds may run somebody's destructor: to be destroyed without the lock.
    std::function<void()> Discard();

    // Puts a job into the empty slot, under the next number. A future without a state if memory is short.
    std::future<FuncExecStatus> Place(std::function<void()> func);

    // The message of the job that waits is on its way to the thread.
    void NotePosted();

    // Number of the job that waits for its message; none if the slot is empty, or if the job's post failed.
    std::optional<std::uint32_t> PostedId() const;

    // Empties the slot into the result; the result's number is that of the latest job even if there is none.
    Job Take();

    // Number of the latest job; 0 before the first. Emptying the slot does not change it.
    std::uint32_t Id() const
    {
        return mJob.id;
    }

private:
    friend class TestAccess;
    Job mJob;
    bool mIsPosted = false;
};

// Runs the job if its message carried its number, and otherwise discards it: the message was then meant for an older
// one. Without a lock held. What the function throws is logged and goes no further; it ran all the same.
void RunJob(Job job, std::uint64_t numberOfMessage);

}  // namespace sd::clip
