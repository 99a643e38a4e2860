#include "support/opened_clipboard.h"

namespace sd::clip {

OpenedClipboard::~OpenedClipboard()
{
    if (IsOpenHere())
        Close();
}

bool OpenedClipboard::Open()
{
    if (!OpenClipboard(nullptr))
        return false;
    mOpener = GetCurrentThreadId();
    return true;
}

// The note goes first: another thread may open the clipboard as soon as it is closed.
void OpenedClipboard::Close()
{
    DWORD self = GetCurrentThreadId();
    mOpener.compare_exchange_strong(self, 0);
    CloseClipboard();
}

}  // namespace sd::clip
