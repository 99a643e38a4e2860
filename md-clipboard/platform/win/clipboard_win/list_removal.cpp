#include "clipboard_win/list_removal.h"

#include <ole2.h>

#include <utility>

#include "workthread/sent_messages.h"

namespace sd::clip {

namespace {

constexpr DWORD kMostWait = 1000;  // milliseconds
constexpr DWORD kPause = 10;       // milliseconds

// OLE takes single-threaded apartments only. A thread in one of these may still not have joined OLE itself.
bool canHaveJoinedOle()
{
    APTTYPE type = APTTYPE_MTA;
    APTTYPEQUALIFIER qualifier = APTTYPEQUALIFIER_NONE;
    return SUCCEEDED(CoGetApartmentType(&type, &qualifier)) && type != APTTYPE_MTA;
}

}  // namespace

ListRemoval::ListRemoval(std::function<bool()> isListThere) : mIsListThere(std::move(isListThere))
{
    mIsPossible = canHaveJoinedOle() ? mIsListThere() : open();
}

ListRemoval::~ListRemoval()
{
    close();
}

// Under Wine a clipboard that is open without a window can be taken over by another thread, as the library's worker
// does when it looks at a change. The emptying fails then, and is tried again.
void ListRemoval::empty()
{
    if (!mIsOpen && (emptyByOle() != CO_E_NOTINITIALIZED || !open()))
        return;
    while (!EmptyClipboard() && openAgain()) {
    }
    close();
}

// The library's own worker may have the clipboard open, too: to look at a change.
HRESULT ListRemoval::emptyByOle()
{
    HRESULT emptied = OleSetClipboard(nullptr);
    while (emptied == CLIPBRD_E_CANT_OPEN && pause() && mIsListThere())
        emptied = OleSetClipboard(nullptr);
    return emptied;
}

// The list is looked at once more in the open clipboard, where nobody can change it.
bool ListRemoval::open()
{
    while (mIsListThere()) {
        mIsOpen = OpenClipboard(nullptr) != FALSE;
        if (mIsOpen || !pause())
            break;
    }
    const bool isThere = mIsOpen && mIsListThere();
    if (!isThere)
        close();
    return isThere;
}

bool ListRemoval::openAgain()
{
    close();
    return pause() && open();
}

void ListRemoval::close()
{
    if (std::exchange(mIsOpen, false))
        CloseClipboard();
}

// @return whether there was time left for one
bool ListRemoval::pause()
{
    if (mWaited >= kMostWait)
        return false;
    ServeSentMessages();  // the program that has it open may be sending to this thread
    Sleep(kPause);
    mWaited += kPause;
    return true;
}

}  // namespace sd::clip
