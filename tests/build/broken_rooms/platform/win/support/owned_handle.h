#pragma once

inline void close(HANDLE handle)
{
    CloseHandle(handle);
}
