#include "second_close_shield.h"

#include <atomic>

namespace {

// From a placeholder's making to the end of its preparation, which is all on one thread.
thread_local HANDLE tPlaceholder = nullptr;
thread_local bool tIsClosed = false;
std::atomic<int> gCount{0};

// The library makes no other file in this way.
HANDLE WINAPI createNoted(LPCWSTR path, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES security, DWORD disposition,
                          DWORD flags, HANDLE like)
{
    const HANDLE file = CreateFileW(path, access, share, security, disposition, flags, like);
    if (disposition == CREATE_ALWAYS && share == 0) {
        tPlaceholder = file != INVALID_HANDLE_VALUE ? file : nullptr;
        tIsClosed = false;
    }
    return file;
}

BOOL WINAPI closeOnce(HANDLE handle)
{
    if (handle != tPlaceholder || handle == nullptr)
        return CloseHandle(handle);
    if (!tIsClosed) {
        tIsClosed = true;
        return CloseHandle(handle);
    }
    tPlaceholder = nullptr;
    ++gCount;
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
}

// A publication that succeeds is followed by no close.
HANDLE WINAPI publish(UINT format, HANDLE block)
{
    const HANDLE set = SetClipboardData(format, block);
    if (set != nullptr)
        tPlaceholder = nullptr;
    return set;
}

}  // namespace

SecondCloseShield::SecondCloseShield(HMODULE library)
    : mCreate(library, "CreateFileW", &createNoted),
      mClose(library, "CloseHandle", &closeOnce),
      mPublish(library, "SetClipboardData", &publish)
{
}

int SecondCloseShield::count()
{
    return gCount;
}
