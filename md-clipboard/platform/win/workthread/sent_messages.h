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

}  // namespace sd::clip
