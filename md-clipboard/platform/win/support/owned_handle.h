// A handle of a file, a directory, an event or a thread.
#pragma once

#include <windows.h>

#include <utility>

namespace sd::clip {

// Has CloseHandle close its handle, if any, with itself.
//
// Threads: one at a time.
class OwnedHandle {
public:
    // @param handle what the platform gave. Its calls fail with null or with INVALID_HANDLE_VALUE: both are none.
    explicit OwnedHandle(HANDLE handle) : mHandle(handle) {}
    OwnedHandle(const OwnedHandle&) = delete;
    OwnedHandle& operator=(const OwnedHandle&) = delete;
    ~OwnedHandle();

    bool IsValid() const
    {
        return mHandle != nullptr && mHandle != INVALID_HANDLE_VALUE;
    }

    HANDLE Get() const
    {
        return mHandle;
    }

    // The handle, which the caller closes.
    HANDLE Release()
    {
        return std::exchange(mHandle, nullptr);
    }

    // Closes now, for whom the answer matters. The platform is asked without a handle too.
    // @return what the platform answers; the last error is that of its call
    bool Close();

private:
    HANDLE mHandle;
};

}  // namespace sd::clip
