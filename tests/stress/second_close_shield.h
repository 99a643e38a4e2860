// Keeps the second close of a placeholder from other threads' handles.
#pragma once

#include <windows.h>

#include "support/import_hook.h"

// After a failed publication the library closes the placeholder's handle once more, and that stays. In a process of one
// thread nothing comes of it. Here another thread may have got the same number meanwhile, for an event that it waits
// with: it would wait for ever. While an object lives, the second close fails as it does where nobody has the number.
class SecondCloseShield {
public:
    explicit SecondCloseShield(HMODULE library);

    // How often it was needed.
    static int count();

private:
    ImportHook<decltype(&CreateFileW)> mCreate;
    ImportHook<decltype(&CloseHandle)> mClose;
    ImportHook<decltype(&SetClipboardData)> mPublish;
};
