// A host that joined OLE on the thread that sets the guest's list, and pumps no messages meanwhile. That thread owns
// the emptied clipboard, and the work thread's OleSetClipboard sends it a message. Where nobody serves it, the platform
// waits for seconds or for ever. A program of its own: the first thread that needs OLE's window gets it.
#include <gtest/gtest.h>
#include <ole2.h>

#include "../data_object/guest_list.h"
#include "support/journal.h"
#include "workthread/remote_format_file.h"

using namespace sd::clip;

namespace {

class JoinedCaller : public testing::Test {
protected:
    JoinedCaller()
    {
        OleInitialize(nullptr);
        OleSetClipboard(nullptr);  // makes the window
        mWindow = GetClipboardOwner();
        sProcedure = reinterpret_cast<WNDPROC>(
            SetWindowLongPtrW(mWindow, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&noteMessage)));
    }
    ~JoinedCaller() override
    {
        SetWindowLongPtrW(mWindow, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(sProcedure));
        auto emptied = RemoteFormatFile::Instance().MoveToThread([] { OleSetClipboard(nullptr); });
        while (emptied.wait_for(std::chrono::milliseconds(1)) != std::future_status::ready) {
            MSG message;
            PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE);
        }
        OleUninitialize();
    }

    static LRESULT CALLBACK noteMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
    {
        if (message == WM_DESTROYCLIPBOARD && InSendMessage())
            Journal::shared().add("served");
        return CallWindowProcW(sProcedure, window, message, wParam, lParam);
    }

    static inline WNDPROC sProcedure = nullptr;

    HWND mWindow = nullptr;
    GuestList mGuest{{10, 20}};
};

}  // namespace

TEST_F(JoinedCaller, ServesTheWorkThreadWhileItWaits)
{
    ASSERT_NE(mWindow, nullptr);
    ASSERT_EQ(GetWindowThreadProcessId(mWindow, nullptr), GetCurrentThreadId());
    EXPECT_TRUE(ClipboardImpl::instance()->SetClipboardData(ClipboardFormat::File, mGuest.record));
    const int served = Journal::shared().find("served");
    ASSERT_NE(served, -1);
    EXPECT_LT(served, Journal::shared().find("log 5 OLE Clipboard Set Done"));
    EXPECT_EQ(mGuest.listener->events().back().stage, "setComplete");
}
