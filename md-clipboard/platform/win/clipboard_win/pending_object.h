// A data object on its way to the work thread.
#pragma once

#include <atomic>

namespace sd::clip {

class ClipDataObject;

// Keeps the reference of the object's creation. The caller that takes the object owns that reference. If the job is
// discarded, nobody takes the object, and it goes with the job.
//
// Threads: any, at once. It ends on the thread that lets the job go.
class PendingObject {
public:
    // @param object the reference of its creation goes over to this one
    explicit PendingObject(ClipDataObject* object) : mObject(object) {}
    ~PendingObject();
    PendingObject(const PendingObject&) = delete;
    PendingObject& operator=(const PendingObject&) = delete;

    // @return the object, with its reference for the caller to release or to hand on; null if it was taken already
    ClipDataObject* take()
    {
        return mObject.exchange(nullptr);
    }

private:
    std::atomic<ClipDataObject*> mObject;  // one reference is held
};

}  // namespace sd::clip
