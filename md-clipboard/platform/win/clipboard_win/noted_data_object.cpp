#include "clipboard_win/noted_data_object.h"

#include "data_object/file_request.h"

namespace sd::clip {

void NotedDataObject::note(ClipDataObject* object, std::shared_ptr<FileRequest> request)
{
    // The earlier request goes with `request`, after the lock.
    LockScope lock(mMutex);
    mClipDataObject = object;
    mFileRequest.swap(request);
}

bool NotedDataObject::forgetRequest(const std::shared_ptr<FileRequest>& request)
{
    LockScope lock(mMutex);
    if (mFileRequest != request)
        return false;
    mClipDataObject = nullptr;
    mFileRequest = nullptr;  // not the last reference: the caller has one
    return true;
}

void NotedDataObject::forgetObject(ClipDataObject* object)
{
    std::shared_ptr<FileRequest> forgotten;  // goes after the lock
    LockScope lock(mMutex);
    if (mClipDataObject.compare_exchange_strong(object, nullptr))
        mFileRequest.swap(forgotten);
}

std::shared_ptr<FileRequest> NotedDataObject::request() const
{
    LockScope lock(mMutex);
    return mFileRequest;
}

bool NotedDataObject::isDataTransfering() const
{
    const std::shared_ptr<FileRequest> current = request();
    return current != nullptr && current->IsDataTransfering();
}

}  // namespace sd::clip
