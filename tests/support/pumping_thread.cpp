#include "support/pumping_thread.h"

#include <future>
#include <utility>

namespace {

constexpr UINT kRunFunction = WM_APP + 1;

struct Request {
    const std::function<void()>* function;
    std::promise<void> done;
};

void pump(const std::function<void(const MSG&)>& beforeDispatch)
{
    MSG message;
    while (GetMessageW(&message, nullptr, 0, 0) > 0) {
        if (message.hwnd == nullptr && message.message == kRunFunction) {
            auto* request = reinterpret_cast<Request*>(message.lParam);
            (*request->function)();
            // Its own by now: the request goes as soon as the caller sees the result, with set_value still at work.
            std::promise<void> done = std::move(request->done);
            done.set_value();
        } else {
            if (beforeDispatch)
                beforeDispatch(message);
            DispatchMessageW(&message);
        }
    }
}

}  // namespace

PumpingThread::PumpingThread(std::function<void(const MSG&)> beforeDispatch)
{
    std::promise<DWORD> started;
    auto id = started.get_future();
    mThread = std::thread([&started, beforeDispatch = std::move(beforeDispatch)] {
        MSG message;
        PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE);  // makes the thread's queue
        started.set_value(GetCurrentThreadId());
        pump(beforeDispatch);
    });
    mId = id.get();
}

PumpingThread::~PumpingThread()
{
    PostThreadMessageW(mId, WM_QUIT, 0, 0);
    mThread.join();
}

void PumpingThread::run(const std::function<void()>& function) const
{
    Request request{&function, {}};
    auto done = request.done.get_future();
    PostThreadMessageW(mId, kRunFunction, 0, reinterpret_cast<LPARAM>(&request));
    done.get();
}
