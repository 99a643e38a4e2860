#include "clipboard_win/list_removal.h"

#include <ole2.h>

#include <utility>

namespace sd::clip {

namespace {

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

// Under Wine a clipboard that is open without a window can be taken over by another thread, as the library's worker
// does when it looks at a change. The emptying fails then, and is tried again.
void ListRemoval::empty()
{
    if (!mClipboard.IsOpenHere() && (emptyByOle() != CO_E_NOTINITIALIZED || !open()))
        return;
    while (!EmptyClipboard() && openAgain()) {
    }
    close();
}

// The library's own worker may have the clipboard open, too: to look at a change.
HRESULT ListRemoval::emptyByOle()
{
    HRESULT emptied = OleSetClipboard(nullptr);
    while (emptied == CLIPBRD_E_CANT_OPEN && mPauses.Next() && mIsListThere())
        emptied = OleSetClipboard(nullptr);
    return emptied;
}

// The list is looked at once more in the open clipboard, where nobody can change it.
bool ListRemoval::open()
{
    while (mIsListThere()) {
        if (mClipboard.Open() || !mPauses.Next())
            break;
    }
    const bool isThere = mClipboard.IsOpenHere() && mIsListThere();
    if (!isThere)
        close();
    return isThere;
}

bool ListRemoval::openAgain()
{
    close();
    return mPauses.Next() && open();
}

void ListRemoval::close()
{
    if (mClipboard.IsOpenHere())
        mClipboard.Close();
}

}  // namespace sd::clip
