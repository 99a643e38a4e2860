// The handles that the library's own code made, as against those of the runtime that is linked into it.
#pragma once

#include <windows.h>

class LibraryHandles {
public:
    static void note(HANDLE handle);

    static bool has(HANDLE handle);

    // To be called at each close. @return whether the handle is the library's, which closes one of them twice by
    // decision, on one thread
    static bool close(HANDLE handle);
};
