// Releases what OLE keeps for an application that was killed.
#pragma once

#include <windows.h>

#include <ole2.h>

#include "support/import_hook.h"

// OLE keeps the data object and the stream that a killed application held: for some minutes on Windows, for at least 14
// under Wine. A run may be shorter than that, and what is kept would look like a leak. So here OLE is made to let go of
// them as soon as the list after that one stands on the clipboard.
//
// One for each process. All it does it does on the thread that serves OLE, to which the objects belong.
class KilledApplication {
public:
    explicit KilledApplication(HMODULE library);

    // Whoever pastes the next list will be killed.
    static void expect();

private:
    ImportHook<decltype(&OleSetClipboard)> mSetClipboard;
};
