// The clipboard under Wine as it is on Windows, for a process in which many threads use it at once.
#pragma once

#include <windows.h>

#include <memory>
#include <vector>

#include "example_support/import_patch.h"

/// Two things differ under Wine:
///  - A second OpenClipboard(nullptr) takes the clipboard over, and one with the same window joins. Then one thread
///    frees what another is just reading.
///  - OLE has one clipboard for all threads of a process, without a lock. Who empties it releases the data object on
///    its own thread, whatever the thread that serves the object is just doing with it.
///
/// While an object lives, a second OpenClipboard fails, and OleSetClipboard(nullptr) empties the clipboard through a
/// window of the calling thread, as on Windows: the owner of the object is told by a message, and releases it. Does
/// nothing where the system is not Wine.
class WineClipboardFix {
public:
    /// @param library its calls of OleSetClipboard count. Those of OpenClipboard and CloseClipboard count in this
    ///                program and in OLE too.
    explicit WineClipboardFix(HMODULE library);

private:
    void replace(HMODULE module, const char* name, void* replacement);

    std::vector<std::unique_ptr<ImportPatch>> mPatches;
};
