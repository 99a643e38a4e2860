// A target folder that the tests invent: what is deleted there and what the desktop is told goes to the journal.
#pragma once

#include <windows.h>

#include <shlobj.h>

#include <string>

#include "file_utilities/encoding.h"
#include "support/import_hook.h"
#include "support/journal.h"
#include "support/platform_function.h"

class InventedTarget {
public:
    // @param failingDeletions that many attempts to delete fail, with error 32
    explicit InventedTarget(int failingDeletions = 0)
    {
        sFailingDeletions = failingDeletions;
    }
    InventedTarget(const InventedTarget&) = delete;
    InventedTarget& operator=(const InventedTarget&) = delete;
    ~InventedTarget() = default;

private:
    static constexpr DWORD kRetryPause = 400;

    static BOOL WINAPI deleteFile(LPCWSTR path)
    {
        Journal::shared().add("DeleteFileW " + sd::clip::WideToUtf8(path));
        if (sFailingDeletions == 0)
            return TRUE;
        --sFailingDeletions;
        SetLastError(ERROR_SHARING_VIOLATION);
        return FALSE;
    }
    static void WINAPI notify(LONG event, UINT flags, LPCVOID first, LPCVOID second)
    {
        Journal::shared().add("SHChangeNotify " + std::to_string(event) + " " + std::to_string(flags) + " " +
                              sd::clip::WideToUtf8(static_cast<const wchar_t*>(first)) +
                              (second == nullptr ? "" : " and more"));
    }
    static void WINAPI sleep(DWORD milliseconds)
    {
        if (milliseconds == kRetryPause)
            Journal::shared().add("Sleep 400");
        else
            sSleep(milliseconds);
    }

    static inline int sFailingDeletions = 0;
    static inline const auto sSleep = findInKernel32<decltype(&Sleep)>("Sleep");

    const ImportHook<decltype(&DeleteFileW)> mDelete{nullptr, "DeleteFileW", &deleteFile};
    const ImportHook<decltype(&SHChangeNotify)> mNotify{nullptr, "SHChangeNotify", &notify};
    const ImportHook<decltype(&Sleep)> mSleep{nullptr, "Sleep", &sleep};
};
