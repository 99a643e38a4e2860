// The OLE clipboard, and which of the library's lists went on it last.
#pragma once

#include <windows.h>

#include <objidl.h>

#include <memory>

#include "base/annotated_mutex.h"

namespace sd::clip {

class ClipDataObject;
class FileRequest;

// Threads: as each function says. No lock is held while the platform is called.
class OleClipboard {
public:
    OleClipboard() = default;
    OleClipboard(const OleClipboard&) = delete;
    OleClipboard& operator=(const OleClipboard&) = delete;

    // Empties it, whatever is on it, with a log line. Works on a thread only that joined OLE.
    static void empty();

    // Puts the object on it. To be called on the OLE work thread, which then serves the object.
    // @param object one reference of the caller's goes over to this call, whatever comes of it
    // @return whether it is there; log lines say why not
    bool put(ClipDataObject* object);

    // Of the list that was put last, if its request lives. None while another list is on its way. Any thread.
    std::shared_ptr<FileRequest> request() const;

    // Whether the request's list is still there, and nobody's newer copy. Any thread.
    bool has(const FileRequest& request) const;

    // Takes the request's list off, if it is still there. Any thread; the caller holds no lock.
    // @param line for the log, before the list goes; not kept
    void takeOff(const FileRequest& request, const char* line) const;

private:
    struct InstalledList {
        std::weak_ptr<FileRequest> request;
        HWND owner = nullptr;  // the clipboard's, right after; null if that was another program's already
    };

    bool install(IDataObject* data, const std::shared_ptr<FileRequest>& request);
    InstalledList noteInstalled(InstalledList list);
    InstalledList installedList() const;

    // Whose object went on the clipboard last. None while another one is on its way there.
    InstalledList mInstalled CLIP_GUARDED_BY(mMutex);
    mutable Mutex mMutex;  // a leaf
};

}  // namespace sd::clip
