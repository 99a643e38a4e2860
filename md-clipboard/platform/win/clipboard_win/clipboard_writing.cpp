// Puts a guest's file list on the local clipboard, and takes it off again.
#include <ole2.h>

#include <utility>

#include "base/log.h"
#include "clipboard_win/clipboard_impl.h"
#include "clipboard_win/list_removal.h"
#include "clipboard_win/pending_object.h"
#include "data_object/clip_data_object.h"
#include "data_object/data_lock.h"
#include "data_object/standing_lists.h"
#include "file_utilities/guest_list_check.h"
#include "sd/clip/clipboard_data.h"
#include "support/clipboard_events.h"
#include "support/sent_messages.h"
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

// The emptying of the clipboard that came before is a change too, at which the renderer looks on the worker: whoever
// has the clipboard open meanwhile is waited for, as a list would otherwise be lost while the host is told "complete".
HRESULT setWhenClosed(IDataObject* data)
{
    ServingPauses pauses;  // the program that has it open may be emptying it, and waits until the earlier list is told
    HRESULT set = OleSetClipboard(data);
    while (set == CLIPBRD_E_CANT_OPEN && pauses.Next())
        set = OleSetClipboard(data);
    return set;
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
    if (object == nullptr) {
        CLIP_LOG(kLogInfo, "Empty OLE Clipboard data\n");
        OleSetClipboard(nullptr);
        return true;
    }
    const int initialized = object->DataObjectInit();
    if (initialized < 0) {
        CLIP_LOG(kLogError, "OLE Clipboard data init fail. ret:%d\n", initialized);
        object->Release();  // the engine only notes it, and forgets it with this
        return false;
    }
    IDataObject* data = nullptr;
    const HRESULT queried = object->QueryInterface(IID_IDataObject, reinterpret_cast<void**>(&data));
    if (FAILED(queried)) {
        CLIP_LOG(kLogError, "QueryInterface return %d error code: %d", static_cast<int>(queried),
                 static_cast<int>(GetLastError()));
        object->Release();
        return false;
    }
    const std::shared_ptr<FileRequest> request = object->GetRequest();
    object->Release();
    // The new list has the same owner, so the end of the earlier one's transfer would empty it before it is noted.
    const InstalledList earlier = noteInstalled({});
    const HRESULT set = setWhenClosed(data);
    if (FAILED(set)) {
        // The first number is the query's, as it always was. The object stays, with a reference that nobody holds.
        CLIP_LOG(kLogInfo, "OleSetClipboard return %d  error code : %d", static_cast<int>(queried),
                 static_cast<int>(GetLastError()));
        noteInstalled(earlier);
        StandingLists::Instance().Remove(*request);  // nobody can read from an object that nobody has
        return false;
    }
    const bool isOurs = OleIsCurrentClipboard(data) == S_OK;  // another program may have copied meanwhile
    noteInstalled({request, isOurs ? GetClipboardOwner() : nullptr});
    data->Release();
    CLIP_LOG(kLogInfo, "OLE Clipboard Set Done\n");
    return true;
}

// @return what was noted before
ClipboardImpl::InstalledList ClipboardImpl::noteInstalled(InstalledList list)
{
    LockScope lock(mStateMutex);
    return std::exchange(mInstalled, std::move(list));
}

ClipboardImpl::InstalledList ClipboardImpl::installedList() const
{
    LockScope lock(mStateMutex);
    return mInstalled;
}

bool ClipboardImpl::isOnClipboard(const FileRequest& request) const
{
    const InstalledList installed = installedList();
    // OLE's window stays the owner of a clipboard that OLE has emptied.
    return installed.request.lock().get() == &request && installed.owner != nullptr &&
           GetClipboardOwner() == installed.owner && CountClipboardFormats() != 0;
}

void ClipboardImpl::resetOleclipboard()
{
    if (const std::shared_ptr<FileRequest> request = installedList().request.lock())
        resetOleclipboardOf(*request);
}

void ClipboardImpl::resetOleclipboardOf(const FileRequest& request)
{
    takeOff(request, "clear OLE Clipboard\n");
}

void ClipboardImpl::takeOff(const FileRequest& request, const char* line)
{
    ListRemoval removal([&] { return isOnClipboard(request); });
    if (!removal.isPossible())
        return;
    CLIP_LOG(kLogInfo, "%s", line);
    removal.empty();
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
    DataLockScope::runWithoutLock([this, request] { takeOff(*request, "Empty OLE Clipboard data\n"); });
}

void ClipboardImpl::NotifyFileLazyRenderingComplete(std::int32_t result)
{
    CLIP_LOG(kLogInfo, "Notify file lazy rendering result %d", static_cast<int>(result));
    mFileLazyRenderer.NotifyFileLazyRenderingComplete(result);
}

}  // namespace sd::clip
