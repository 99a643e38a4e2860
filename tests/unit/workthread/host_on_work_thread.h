// The host's code on the OLE work thread that has a message loop of its own, as a dialog has: it takes the messages
// that were meant for the thread's own loop, and drops them. For one source file of a test program.
#pragma once

#include <atomic>

#include "work_thread_hooks.h"

inline constexpr UINT kRunHost = WM_APP + 1;
inline constexpr std::chrono::seconds kHang{60};

// What the host does on the thread, in a message to a window of it. It begins, and goes on when it is told to.
class HostCode {
public:
    explicit HostCode(std::function<void()> code) : mCode(std::move(code)) {}

    void run()
    {
        mBegun.set_value();
        mGoOn.get_future().wait_for(kHang);
        mCode();
        mIsOver = true;
    }
    bool begins()
    {
        return mBegun.get_future().wait_for(kHang) == std::future_status::ready;
    }
    void goOn()
    {
        mGoOn.set_value();
    }
    bool isOver() const
    {
        return mIsOver;
    }

private:
    const std::function<void()> mCode;
    std::promise<void> mBegun;
    std::promise<void> mGoOn;
    std::atomic<bool> mIsOver{false};
};

// A loop as dialogs have it, up to the given message or to one that ends loops, which is left to the loop outside.
inline void loopUntil(UINT last)
{
    MSG message;
    do {
        if (GetMessageW(&message, nullptr, 0, 0) <= 0) {
            PostQuitMessage(0);
            return;
        }
        DispatchMessageW(&message);
    } while (message.message != last);
}

inline LRESULT CALLBACK runHost(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    if (message != kRunHost)
        return DefWindowProcW(window, message, wParam, lParam);
    reinterpret_cast<HostCode*>(lParam)->run();
    return 0;
}

class HostOnWorkThread : public WorkThreadFault {
protected:
    HostOnWorkThread()
    {
        run([this] {
            mWindow = CreateWindowExW(0, L"STATIC", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
            SetWindowLongPtrW(mWindow, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&runHost));
        });
        RecordingLog::clear();
    }

    // The thread's loop is back when the host's code has come to its end.
    void startInPostedMessage(HostCode& host) const
    {
        PostMessageW(mWindow, kRunHost, 0, reinterpret_cast<LPARAM>(&host));
        ASSERT_TRUE(host.begins());
    }

    // The thread's loop does not come back from its wait.
    void startInSentMessage(HostCode& host) const
    {
        SendNotifyMessageW(mWindow, kRunHost, 0, reinterpret_cast<LPARAM>(&host));
        ASSERT_TRUE(host.begins());
    }

    std::function<void()> loopUntilJob() const
    {
        return [last = sd::clip::TestAccess::setOleMessage(*mFile)] { loopUntil(last); };
    }

    static sd::clip::FuncExecStatus statusInTheEnd(Future& future)
    {
        if (!future.valid() || future.wait_for(kHang) != std::future_status::ready) {
            ADD_FAILURE() << "there is no status";
            return sd::clip::FuncExecStatus{};
        }
        return future.get();
    }

    // As a thread that waits for the job.
    sd::clip::FuncExecStatus statusAfterWakes(Future& future) const
    {
        for (int i = 0; i < 600 && future.wait_for(std::chrono::milliseconds(100)) != std::future_status::ready; ++i)
            mFile->Wake();
        return statusOf(future);
    }

    // The thread has been through its loop once more.
    void waitForLoop() const
    {
        mFile->Wake();
        HostCode nothing([] {});
        startInPostedMessage(nothing);
        nothing.goOn();
        SendMessageW(mWindow, WM_NULL, 0, 0);
        EXPECT_TRUE(nothing.isOver());
    }

    HWND mWindow = nullptr;
};
