// For a thread that waits for another one, which may be sending it a message and wait for the answer.
#pragma once

#include <windows.h>

namespace sd::clip {

// Answers what other threads sent to windows of the calling thread; posted messages stay.
inline void ServeSentMessages()
{
    MSG message;
    PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE | PM_QS_SENDMESSAGE);
}

// The pauses of a thread that tries a thing again for up to a second, since another one has the clipboard open.
class ServingPauses {
public:
    // Serves sent messages, and sleeps. @return false, at once, when the second is over
    bool Next()
    {
        if (mWaited >= kMostWait)
            return false;
        ServeSentMessages();
        Sleep(kPause);
        mWaited += kPause;
        return true;
    }

private:
    static constexpr DWORD kMostWait = 1000;  // milliseconds
    static constexpr DWORD kPause = 10;       // milliseconds
    DWORD mWaited = 0;                        // milliseconds
};

}  // namespace sd::clip
