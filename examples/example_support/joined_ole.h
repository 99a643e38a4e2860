#pragma once

#include <windows.h>

#include <ole2.h>

/// While an object lives, its thread is one that joined OLE. A host does so on each thread that calls the library,
/// which empties the OLE clipboard on the thread that it is called by. What came through OLE must be released before.
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
