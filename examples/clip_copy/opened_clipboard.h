#pragma once

#include <windows.h>

#include "clipboard_blocks.h"

/// The system clipboard, opened and emptied, for one scope.
/// It is opened with a window of its own, since who opens it without one owns nothing that is put there.
class OpenedClipboard {
public:
    /// Waits while another program has it open, up to the given time. Throws std::runtime_error after that.
    explicit OpenedClipboard(unsigned maxWaitMilliseconds = 5000);
    OpenedClipboard(const OpenedClipboard&) = delete;
    OpenedClipboard& operator=(const OpenedClipboard&) = delete;
    ~OpenedClipboard();

    /// Both throw std::runtime_error if the system refuses the data.
    void put(UINT format, GlobalMemory block);
    void put(UINT format, Bitmap bitmap);

private:
    HWND mWindow;
};
