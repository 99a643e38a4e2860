// What a replaced import calls on to. Known before the hook stands, since threads of the runtime may call meanwhile;
// and not by its name, which a compiler takes for the import again.
#pragma once

#include <windows.h>

template <class Fn>
Fn findInKernel32(const char* name)
{
    return reinterpret_cast<Fn>(reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"kernel32.dll"), name)));
}
