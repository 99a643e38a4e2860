// The engine's note of the data object that it made last, and of the object's request.
#pragma once

#include <atomic>
#include <memory>

#include "base/annotated_mutex.h"

namespace sd::clip {

class ClipDataObject;
class FileRequest;

// A note and no reference: the OLE clipboard owns the object, which may be dying on another thread. So gates ask the
// request. Nothing is called under the note's lock, and no request ends under it.
//
// Threads: any, at once.
class NotedDataObject {
public:
    NotedDataObject() = default;
    NotedDataObject(const NotedDataObject&) = delete;
    NotedDataObject& operator=(const NotedDataObject&) = delete;

    // Takes the place of an earlier note.
    // @param object stays the caller's
    // @param request the object's
    void note(ClipDataObject* object, std::shared_ptr<FileRequest> request);

    // Clears the note if the request is the noted one.
    // @param request the caller's reference, so the note's is not the last
    // @return whether it was the noted one
    bool forgetRequest(const std::shared_ptr<FileRequest>& request);

    // Clears the note if the object is the noted one.
    // @param object is compared only; it may be half destroyed
    void forgetObject(ClipDataObject* object);

    // For comparisons and log lines: the object may be gone. Null if none is noted.
    ClipDataObject* object() const
    {
        return mClipDataObject;
    }

    // Null if none is noted.
    std::shared_ptr<FileRequest> request() const;

    // Whether the noted list is being pasted.
    bool isDataTransfering() const;

private:
    friend class TestAccess;

    std::atomic<ClipDataObject*> mClipDataObject{nullptr};  // not owned; written under mMutex
    std::shared_ptr<FileRequest> mFileRequest CLIP_GUARDED_BY(mMutex);
    mutable Mutex mMutex;  // a leaf
};

}  // namespace sd::clip
