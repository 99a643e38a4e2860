// Another process that holds the clipboard open for one scope. Included by the one source file of a test program, since
// it registers the other process's role.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "support/child_process.h"
#include "support/clipboard_owner.h"
#include "support/test_roles.h"

class ClipboardHolder {
public:
    // Returns when the other process has it.
    ClipboardHolder()
        : mHeld(CreateEventW(nullptr, TRUE, FALSE, kHeld)),
          mRelease(CreateEventW(nullptr, TRUE, FALSE, kRelease)),
          mChild(ChildProcess::inRole(L"hold-clipboard"))
    {
        // The other process empties the clipboard, which sends a message to the window of this thread that owned it.
        MSG message;
        while (MsgWaitForMultipleObjects(1, &mHeld, FALSE, 30000, QS_SENDMESSAGE) == WAIT_OBJECT_0 + 1)
            PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE);
    }
    ~ClipboardHolder()
    {
        SetEvent(mRelease);
        mChild.waitForExit();
        CloseHandle(mRelease);
        CloseHandle(mHeld);
    }
    ClipboardHolder(const ClipboardHolder&) = delete;
    ClipboardHolder& operator=(const ClipboardHolder&) = delete;

    bool holds() const
    {
        return WaitForSingleObject(mHeld, 0) == WAIT_OBJECT_0 && mChild.running();
    }

private:
    static constexpr const wchar_t* kHeld = L"clipboard-held";
    static constexpr const wchar_t* kRelease = L"clipboard-to-be-released";

    static int hold()
    {
        ClipboardOwner owner;
        owner.open();
        const HANDLE held = OpenEventW(EVENT_MODIFY_STATE, FALSE, kHeld);
        const HANDLE release = OpenEventW(SYNCHRONIZE, FALSE, kRelease);
        SetEvent(held);
        const DWORD waited = WaitForSingleObject(release, 60000);
        owner.close();
        return waited == WAIT_OBJECT_0 ? 0 : 1;
    }
    static inline const TestRole kRole{"hold-clipboard", [](const std::vector<std::string>&) { return hold(); }};

    HANDLE mHeld;
    HANDLE mRelease;
    ChildProcess mChild;
};
