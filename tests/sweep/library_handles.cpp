#include "library_handles.h"

#include <mutex>
#include <set>
#include <utility>

namespace {

struct Handles {
    std::mutex mutex;
    std::set<HANDLE> handles;
};

Handles& shared()
{
    static auto& handles = *new Handles;  // calls come until the process ends
    return handles;
}

}  // namespace

void LibraryHandles::note(HANDLE handle)
{
    Handles& all = shared();
    const std::lock_guard<std::mutex> lock(all.mutex);
    all.handles.insert(handle);
}

bool LibraryHandles::has(HANDLE handle)
{
    Handles& all = shared();
    const std::lock_guard<std::mutex> lock(all.mutex);
    return all.handles.count(handle) != 0;
}

bool LibraryHandles::close(HANDLE handle)
{
    thread_local HANDLE closedLast = nullptr;
    Handles& all = shared();
    const std::lock_guard<std::mutex> lock(all.mutex);
    if (all.handles.erase(handle) != 0) {
        closedLast = handle;
        return true;
    }
    return closedLast == handle && std::exchange(closedLast, nullptr) != nullptr;
}
