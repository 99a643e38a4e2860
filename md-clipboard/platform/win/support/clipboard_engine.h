// What a transfer needs of the engine.
#pragma once

#include <cstdint>
#include <string>

namespace sd::clip {

class ClipDataObject;
class FileRequest;

// The engine registers itself when it is made, and lives until the process ends. Data objects, streams and the records
// of files know no more of it than this.
// Threads: any, at once.
class ClipboardEngine {
public:
    // @return the registered engine; before there is one, a stand-in that does nothing and has no cache directory
    static ClipboardEngine& Current();

    // @param engine lives until the process ends
    static void Register(ClipboardEngine& engine);

    // Tells the host's listener, on the calling thread; does nothing without a listener. Throws what the listener
    // throws. Each event has a function of its own (clipboard_events.h).
    virtual void notifyClipboardEvent(std::string operation, std::string stage, std::string dataType,
                                      std::int64_t number, std::string message, std::string result,
                                      std::string errorCode, std::string errorDetail) = 0;

    // @return the directory that the host gave, as it gave it: where the slices lie
    virtual std::string cacheDirectory() const = 0;

    // Takes the request's list off the clipboard, if it is still there: nobody's newer copy is emptied.
    // The calling thread must hold no lock: the emptying waits for the thread that serves the data object.
    virtual void resetOleclipboardOf(const FileRequest& request) = 0;

    // Forgets the data object if it is still the noted one: an old object that dies after a newer one was noted must
    // not clear the newer note.
    // @param object is compared only; it may be half destroyed
    virtual void resetClipCObjectData(ClipDataObject* object) = 0;

protected:
    // Never deleted through this interface.
    ~ClipboardEngine() = default;
};

}  // namespace sd::clip
