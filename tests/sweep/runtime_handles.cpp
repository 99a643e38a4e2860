#include "runtime_handles.h"

#include <set>
#include <stdexcept>

namespace {

// A lock of the runtime would make such handles itself.
class LightLock {
public:
    LightLock()
    {
        AcquireSRWLockExclusive(&sLock);
    }
    ~LightLock()
    {
        ReleaseSRWLockExclusive(&sLock);
    }
    LightLock(const LightLock&) = delete;
    LightLock& operator=(const LightLock&) = delete;

private:
    static inline SRWLOCK sLock = SRWLOCK_INIT;
};

std::set<HANDLE>& handles()
{
    static auto& all = *new std::set<HANDLE>;  // calls come until the process ends
    return all;
}

// The platform's own: this program's imports are replaced too.
template <class Fn>
Fn findInPlatform(const char* name)
{
    return reinterpret_cast<Fn>(reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"kernel32.dll"), name)));
}

const auto gCreateEvent = findInPlatform<decltype(&CreateEventA)>("CreateEventA");
const auto gCreateSemaphore = findInPlatform<decltype(&CreateSemaphoreA)>("CreateSemaphoreA");
const auto gCloseHandle = findInPlatform<decltype(&CloseHandle)>("CloseHandle");

HANDLE note(HANDLE handle)
{
    const LightLock lock;
    if (handle != nullptr)
        handles().insert(handle);
    return handle;
}

HANDLE WINAPI createEvent(LPSECURITY_ATTRIBUTES security, BOOL manual, BOOL initial, LPCSTR name)
{
    return note(gCreateEvent(security, manual, initial, name));
}

HANDLE WINAPI createSemaphore(LPSECURITY_ATTRIBUTES security, LONG initial, LONG most, LPCSTR name)
{
    return note(gCreateSemaphore(security, initial, most, name));
}

BOOL WINAPI close(HANDLE handle)
{
    {
        const LightLock lock;
        handles().erase(handle);
    }
    return gCloseHandle(handle);
}

}  // namespace

RuntimeHandles::RuntimeHandles(HMODULE library)
{
    for (const HMODULE module : {HMODULE{nullptr}, library}) {
        replace(module, "CreateEventA", reinterpret_cast<void*>(&createEvent));
        replace(module, "CreateSemaphoreA", reinterpret_cast<void*>(&createSemaphore));
        replace(module, "CloseHandle", reinterpret_cast<void*>(&close));
    }
}

std::size_t RuntimeHandles::count()
{
    const LightLock lock;
    return handles().size();
}

void RuntimeHandles::replace(HMODULE module, const char* name, void* replacement)
{
    try {
        mPatches.push_back(std::make_unique<ImportPatch>(module, name, replacement));
    } catch (const std::runtime_error&) {
        return;  // another runtime
    }
}
