// One thread at a time in OLE's clipboard. For one source file of a test program.
#pragma once

#include <windows.h>

#include <mutex>

// Under Wine OLE's clipboard is one for the process and has no lock of its own; on Windows it is one for each thread.
// Whoever waits here serves what others send to its windows, as it does within OLE's own calls.
class OleTurn {
public:
    OleTurn()
    {
        while (!sTaken.try_lock()) {
            MSG message;
            PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE | PM_QS_SENDMESSAGE);
            Sleep(1);
        }
    }
    ~OleTurn()
    {
        sTaken.unlock();
    }
    OleTurn(const OleTurn&) = delete;
    OleTurn& operator=(const OleTurn&) = delete;

private:
    static inline std::recursive_mutex sTaken;  // the end of an object may empty the clipboard within another's turn
};
