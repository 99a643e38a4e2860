// Another program of the desktop that copies, with a window and a thread of its own.
#pragma once

#include <windows.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "support/clipboard_owner.h"
#include "support/pumping_thread.h"

// The thread goes on to pump: who empties the clipboard sends a message to its owner.
class CopyingProgram {
public:
    CopyingProgram();
    ~CopyingProgram();
    CopyingProgram(const CopyingProgram&) = delete;
    CopyingProgram& operator=(const CopyingProgram&) = delete;

    // Each is false if the clipboard stays busy for half a minute.
    bool copyFiles(const std::vector<std::wstring>& paths);
    bool copyText();
    bool emptyClipboard();

private:
    bool copy(const std::function<void()>& put);

    PumpingThread mThread;
    std::unique_ptr<ClipboardOwner> mOwner;  // belongs to mThread
    HWND mWindow = nullptr;                  // the same
};
