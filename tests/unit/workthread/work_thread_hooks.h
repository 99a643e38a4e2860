// Replaced platform calls of the tests of the OLE work thread. For one source file of a test program.
#pragma once

#include <vector>

#include "support/import_hook.h"
#include "work_thread_fixture.h"
#include "workthread/remote_format_file.h"

template <class Function>
inline Function gReal = nullptr;

// An ImportHook whose replacement can reach the real function.
template <class Function>
class Hook : public ImportHook<Function> {
public:
    Hook(const char* name, Function replacement) : ImportHook<Function>(nullptr, name, replacement)
    {
        gReal<Function> = this->real();
    }
};

// The runtime waits and sleeps on other threads too; only the test's own calls are looked at.
inline DWORD gTestThread = 0;

inline bool isTestThread()
{
    return GetCurrentThreadId() == gTestThread;
}

struct Post {
    DWORD thread;
    UINT message;
    WPARAM wParam;
    LPARAM lParam;
};
inline std::vector<Post> gPosts;

inline BOOL WINAPI keepPost(DWORD thread, UINT message, WPARAM wParam, LPARAM lParam)
{
    gPosts.push_back({thread, message, wParam, lParam});
    return gReal<decltype(&PostThreadMessageW)>(thread, message, wParam, lParam);
}

class WorkThreadFault : public sd::clip::WorkThread {
protected:
    WorkThreadFault()
    {
        gTestThread = GetCurrentThreadId();
        gPosts.clear();
    }
};
