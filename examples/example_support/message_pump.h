#pragma once

#include <windows.h>

/// Dispatches this thread's messages until the event is set or the time is over.
/// A thread that made a window or joined OLE has to wait like this: others send to it and wait for its answer.
/// @param milliseconds INFINITE: no limit
/// @return whether the event is set
bool pumpMessagesUntil(HANDLE event, DWORD milliseconds);
