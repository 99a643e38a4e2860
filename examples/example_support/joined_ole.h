#pragma once

#include <windows.h>

#include <ole2.h>

/// While an object lives, its thread is one that joined OLE. A host may do so on threads that call the library, which
/// then empties the clipboard through OLE. What came through OLE must be released before.
class JoinedOle {
public:
    JoinedOle() : mJoined(SUCCEEDED(OleInitialize(nullptr))) {}
    JoinedOle(const JoinedOle&) = delete;
    JoinedOle& operator=(const JoinedOle&) = delete;
    ~JoinedOle()
    {
        if (mJoined)
            OleUninitialize();
    }

private:
    const bool mJoined;
};
