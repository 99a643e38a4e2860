// Taking a list of the library's off the clipboard, on whichever thread that is decided.
#pragma once

#include <windows.h>

#include <functional>

#include "support/opened_clipboard.h"
#include "support/sent_messages.h"

namespace sd::clip {

// One removal, in three steps: look, write the log line, empty. Nobody's newer copy is emptied.
//
// A thread that joined OLE has OLE empty the clipboard, and tries again for up to a second while another thread or
// program has it open. On any other thread that call fails unseen, so the clipboard
// is opened here, and stays open from the look to the emptying: no other program can copy in between. The thread does
// not join OLE for this: it is the host's. Sent messages are served while another program has the clipboard open.
//
// Emptying sends a message to the thread that serves the data object and waits for it, so no lock may be held.
class ListRemoval {
public:
    // Looks. Waits for up to a second for a clipboard that another program has open.
    // @param isListThere whether the clipboard holds the list; asked several times, while this object lives
    explicit ListRemoval(std::function<bool()> isListThere);
    ListRemoval(const ListRemoval&) = delete;
    ListRemoval& operator=(const ListRemoval&) = delete;

    // Whether the list is there and can be taken off.
    bool isPossible() const
    {
        return mIsPossible;
    }

    // To be called where it is possible, once.
    void empty();

private:
    HRESULT emptyByOle();
    bool open();
    bool openAgain();
    void close();

    const std::function<bool()> mIsListThere;
    ServingPauses mPauses;
    OpenedClipboard mClipboard;
    bool mIsPossible = false;
};

}  // namespace sd::clip
