#include "clipboard_win/ole_clipboard.h"

#include <ole2.h>

#include <utility>

#include "base/log.h"
#include "clipboard_win/list_removal.h"
#include "data_object/clip_data_object.h"
#include "data_object/standing_lists.h"
#include "support/sent_messages.h"

namespace sd::clip {

namespace {

// The emptying of the clipboard that came before is a change too, at which the renderer looks on the worker. So this
// waits for a program that has the clipboard open: the list would be lost while the host is told "complete".
// @param data stays the caller's; a clipboard that took it has a reference of its own
HRESULT setWhenClosed(IDataObject* data)
{
    ServingPauses pauses;  // the program that has it open may be emptying it, and waits until the earlier list is told
    HRESULT set = OleSetClipboard(data);
    while (set == CLIPBRD_E_CANT_OPEN && pauses.Next())
        set = OleSetClipboard(data);
    return set;
}

}  // namespace

void OleClipboard::empty()
{
    CLIP_LOG(kLogInfo, "Empty OLE Clipboard data\n");
    OleSetClipboard(nullptr);
}

bool OleClipboard::put(ClipDataObject* object)
{
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
    return install(data, request);
}

// @param data one reference of the caller's goes over to this call
bool OleClipboard::install(IDataObject* data, const std::shared_ptr<FileRequest>& request)
{
    // The new list has the same owner, so the end of the earlier one's transfer would empty it before it is noted.
    const InstalledList earlier = noteInstalled({});
    if (FAILED(setWhenClosed(data))) {
        // The first number is that of the query, which succeeded, as it always was. The object stays, with a reference
        // that nobody holds.
        CLIP_LOG(kLogInfo, "OleSetClipboard return %d  error code : %d", static_cast<int>(S_OK),
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
OleClipboard::InstalledList OleClipboard::noteInstalled(InstalledList list)
{
    LockScope lock(mMutex);
    return std::exchange(mInstalled, std::move(list));
}

OleClipboard::InstalledList OleClipboard::installedList() const
{
    LockScope lock(mMutex);
    return mInstalled;
}

std::shared_ptr<FileRequest> OleClipboard::request() const
{
    return installedList().request.lock();
}

bool OleClipboard::has(const FileRequest& request) const
{
    const InstalledList installed = installedList();
    // OLE's window stays the owner of a clipboard that OLE has emptied.
    return installed.request.lock().get() == &request && installed.owner != nullptr &&
           GetClipboardOwner() == installed.owner && CountClipboardFormats() != 0;
}

void OleClipboard::takeOff(const FileRequest& request, const char* line) const
{
    ListRemoval removal([&] { return has(request); });
    if (!removal.isPossible())
        return;
    CLIP_LOG(kLogInfo, "%s", line);
    removal.empty();
}

}  // namespace sd::clip
