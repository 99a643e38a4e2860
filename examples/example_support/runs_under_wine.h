#pragma once

#include <windows.h>

/// @return whether the system is Wine, which here and there behaves as Windows does not
inline bool runsUnderWine()
{
    const HMODULE ntdll = GetModuleHandleW(L"ntdll.dll");
    return ntdll != nullptr && GetProcAddress(ntdll, "wine_get_version") != nullptr;
}
