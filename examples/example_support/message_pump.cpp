#include "example_support/message_pump.h"

bool pumpMessagesUntil(HANDLE event, DWORD milliseconds)
{
    const ULONGLONG end = GetTickCount64() + milliseconds;
    for (;;) {
        const ULONGLONG now = GetTickCount64();
        const DWORD wait = milliseconds == INFINITE ? INFINITE : static_cast<DWORD>(end > now ? end - now : 0);
        const DWORD result = MsgWaitForMultipleObjectsEx(1, &event, wait, QS_ALLINPUT, MWMO_INPUTAVAILABLE);
        if (result != WAIT_OBJECT_0 + 1)
            return result == WAIT_OBJECT_0;
        MSG message;
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
            TranslateMessage(&message);
            DispatchMessageW(&message);
        }
    }
}
