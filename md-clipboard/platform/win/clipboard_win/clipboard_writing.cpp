// Puts a guest's file list on the local clipboard, and takes it off again.
#include <utility>

#include "base/log.h"
#include "clipboard_win/clipboard_impl.h"
#include "clipboard_win/pending_object.h"
#include "data_object/clip_data_object.h"
#include "data_object/data_lock.h"
#include "file_utilities/guest_list_check.h"
#include "sd/clip/clipboard_data.h"
#include "support/clipboard_events.h"
#include "workthread/future_error_number.h"

namespace sd::clip {

namespace {

constexpr std::uint32_t kTransferFailed = 1;

std::int64_t countFiles(const std::shared_ptr<ClipboardData>& data)
{
    const auto files = std::dynamic_pointer_cast<ClipboardFileData>(data);
    return files != nullptr ? static_cast<std::int64_t>(files->GetFiles().size()) : 0;
}

// Hostile lists are refused whole, and without an event: no host offers a user half of what the guest copied.
bool isRefused(const std::shared_ptr<ClipboardData>& data, PasteRoute route)
{
    const auto files = std::dynamic_pointer_cast<ClipboardFileData>(data);
    const auto refused = files != nullptr ? FindRefusedEntry(files->GetFiles(), route) : std::nullopt;
    if (refused)
        CLIP_LOG(kLogError, "Refuse guest file list, entry %lld: %s", static_cast<long long>(refused->position),
                 refused->reason);
    return refused.has_value();
}

}  // namespace

bool ClipboardImpl::SetClipboardData(ClipboardFormat format, std::shared_ptr<ClipboardData> data)
{
    CLIP_LOG(kLogInfo, "Enter");
    const std::int64_t fileCount = countFiles(data);
    if (!mFileClipboardSupported) {
        CLIP_LOG(kLogInfo, "Qsp file clipboard disabled");
        RaiseListUnsupported(*this, fileCount);
        return false;
    }
    if (format == ClipboardFormat::FileLazy) {
        CLIP_LOG(kLogInfo, "Use file lazy renderer to handle file clipboard data");
        return !WorkThreadCaller::isInsidePaste() && !isRefused(data, PasteRoute::kPlaceholder) &&
               mFileLazyRenderer.PrepareFileLazyRendering(std::dynamic_pointer_cast<ClipboardFileDataEx>(data));
    }
    if (mNoted.isDataTransfering()) {
        CLIP_LOG(kLogError, "not support set clipboard when file is transfering");
        RaiseListDuringTransfer(*this, fileCount);
        return false;
    }
    return !WorkThreadCaller::isInsidePaste() && !isRefused(data, PasteRoute::kStreamed) &&
           setFileList(std::move(data), fileCount);
}

bool ClipboardImpl::setFileList(std::shared_ptr<ClipboardData> data, std::int64_t fileCount)
{
    keepClipData(data);
    setOleDataObject(nullptr);

    auto* const object = new ClipDataObject;
    const auto pending = std::make_shared<PendingObject>(object);
    mNoted.note(object, object->GetRequest());
    CLIP_LOG(kLogInfo, "Create new clipdataobject:%p.", static_cast<void*>(object));
    object->SetClipboardData(std::move(data));
    std::future_status status;
    try {
        status = mWorkThread.run([this, pending] { setCurrentOleDataObject(*pending); });
    } catch (const std::future_error& failure) {
        CLIP_LOG(kLogError, "handle future error code %d, %s", futureErrorNumber(failure), failure.what());
        return false;
    }
    if (status == std::future_status::timeout) {
        WorkThreadCaller::withdraw();
        RaiseListFailed(*this, fileCount);
        return false;
    }
    // What the work thread made of it is not asked: hosts are told "complete" whenever it answered.
    RaiseListComplete(*this, fileCount);
    return true;
}

// What the work thread runs. The object is this call's own: of two calls at once each installs its object, once.
void ClipboardImpl::setCurrentOleDataObject(PendingObject& pending)
{
    if (ClipDataObject* const object = pending.take())
        setOleDataObject(object);
}

bool ClipboardImpl::setOleDataObject(ClipDataObject* object)
{
    if (object != nullptr)
        return mOleClipboard.put(object);
    OleClipboard::empty();
    return true;
}

void ClipboardImpl::resetOleclipboard()
{
    if (const std::shared_ptr<FileRequest> request = mOleClipboard.request())
        resetOleclipboardOf(*request);
}

void ClipboardImpl::resetOleclipboardOf(const FileRequest& request)
{
    mOleClipboard.takeOff(request, "clear OLE Clipboard\n");
}

void ClipboardImpl::NotifyFileTransferFailed(std::uint32_t fail)
{
    CLIP_LOG(kLogInfo, "fail:%d", static_cast<int>(fail));
    const ClipDataObject* const object = mNoted.object();
    const std::shared_ptr<FileRequest> request = mNoted.request();
    if (object == nullptr || request == nullptr) {
        CLIP_LOG(kLogInfo, "ClipDataObject is nullptr, don't need reset oleclipboard");
        return;
    }
    if (!request->IsDataTransfering()) {
        CLIP_LOG(kLogError, "clipboard file request is not transfering");
        return;
    }
    if (fail != kTransferFailed)
        return;
    keepClipData(nullptr);
    request->NotifyFileTransferFailed();
    if (!mNoted.forgetRequest(request))
        return;  // while this waited for a reader somebody else's copy came, or a newer list: it stays
    // Later, if this is called from inside an event or a function that is called under a data lock.
    DataLockScope::runWithoutLock([this, request] { mOleClipboard.takeOff(*request, "Empty OLE Clipboard data\n"); });
}

void ClipboardImpl::NotifyFileLazyRenderingComplete(std::int32_t result)
{
    CLIP_LOG(kLogInfo, "Notify file lazy rendering result %d", static_cast<int>(result));
    mFileLazyRenderer.NotifyFileLazyRenderingComplete(result);
}

}  // namespace sd::clip
