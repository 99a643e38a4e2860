// This program once more, in another role.
#pragma once

#include <windows.h>

#include <string>

// Both throw std::runtime_error if it can't be started.

// @param option all that its command line holds
// @return its handle, for the caller to close
HANDLE startSecondProcess(const std::wstring& option);

// With this process's own command line and more options behind it. Waits for its end.
// @return its exit code
DWORD runSecondProcess(const std::wstring& moreOptions);

// A counter of time that all processes share.
LONGLONG sharedNow();
double toSharedMilliseconds(LONGLONG count);

// Numbers that both processes see; they stay mapped until the process ends. Null if the mapping is.
// @param mapping from CreateFileMappingW or OpenFileMappingW
volatile LONGLONG* mapSharedNumbers(HANDLE mapping);
