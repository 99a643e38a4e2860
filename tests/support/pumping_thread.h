// A thread that pumps messages, as a host's window thread does, and runs what a test asks it to.
#pragma once

#include <windows.h>

#include <functional>
#include <thread>

class PumpingThread {
public:
    // The function sees each message on the thread, before its window does.
    explicit PumpingThread(std::function<void(const MSG&)> beforeDispatch = {});
    ~PumpingThread();  // leaves the message loop and waits
    PumpingThread(const PumpingThread&) = delete;
    PumpingThread& operator=(const PumpingThread&) = delete;

    // Runs the function on the thread, between two messages, and waits for it.
    void run(const std::function<void()>& function) const;

    DWORD id() const
    {
        return mId;
    }

private:
    DWORD mId = 0;
    std::thread mThread;
};
