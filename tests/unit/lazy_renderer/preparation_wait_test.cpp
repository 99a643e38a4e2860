// A preparation that waits for another one. A host's thread that joined OLE may own the clipboard by a window, and
// whoever empties the clipboard sends to that window and waits for the answer.
#include <gtest/gtest.h>
#include <windows.h>

#include <future>
#include <thread>

#include "renderer_access.h"
#include "support/clipboard_owner.h"
#include "support/import_hook.h"
#include "support/recording_log.h"
#include "support/temporary_folder.h"

using namespace sd::clip;

namespace {

// Not the import, which is replaced.
BOOL reallyEmpty()
{
    static const auto empty = reinterpret_cast<decltype(&EmptyClipboard)>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"user32.dll"), "EmptyClipboard")));
    return empty();
}

LRESULT CALLBACK noteLoss(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    if (message == WM_DESTROYCLIPBOARD)
        Journal::shared().add("told of the loss");
    return DefWindowProcW(window, message, wParam, lParam);
}

// Owns the clipboard on the thread that makes it.
class OwnerThatTells {
public:
    OwnerThatTells()
        : mWindow(CreateWindowExW(0, L"STATIC", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr))
    {
        SetWindowLongPtrW(mWindow, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&noteLoss));
        EXPECT_TRUE(OpenClipboard(mWindow));
        EXPECT_TRUE(reallyEmpty());
        EXPECT_TRUE(CloseClipboard());
    }
    ~OwnerThatTells()
    {
        DestroyWindow(mWindow);
    }
    OwnerThatTells(const OwnerThatTells&) = delete;
    OwnerThatTells& operator=(const OwnerThatTells&) = delete;

private:
    const HWND mWindow;
};

std::promise<void>* gAboutToEmpty = nullptr;
std::shared_future<void> gMayEmpty;
std::thread::id gFirst;

BOOL WINAPI emptyLater()
{
    if (std::this_thread::get_id() != gFirst)
        return reallyEmpty();
    gAboutToEmpty->set_value();
    gMayEmpty.wait();
    const BOOL emptied = reallyEmpty();
    Journal::shared().add("emptied");
    return emptied;
}

}  // namespace

TEST(PreparationWait, ServesTheMessageOfThePreparationThatItWaitsFor)
{
    const TemporaryFolder folder;
    FileClipboardLazyRenderer renderer;
    TestAccess::setCacheDirectory(renderer, folder.utf8Path() + "\\cache\\");
    std::promise<void> aboutToEmpty;
    std::promise<void> mayEmpty;
    gAboutToEmpty = &aboutToEmpty;
    gMayEmpty = mayEmpty.get_future().share();
    const ImportHook<decltype(&EmptyClipboard)> hook(nullptr, "EmptyClipboard", &emptyLater);

    std::promise<void> owned;
    std::thread second([&] {
        const OwnerThatTells owner;
        owned.set_value();
        aboutToEmpty.get_future().wait();
        EXPECT_TRUE(renderer.PrepareFileLazyRendering(makeGuestRecord({"second.txt"})));
    });
    owned.get_future().wait();
    std::thread first([&] {
        gFirst = std::this_thread::get_id();
        EXPECT_TRUE(renderer.PrepareFileLazyRendering(makeGuestRecord({"first.txt"})));
    });
    const std::string begins = "Start watching file by file clipboard lazy renderer.";
    for (int i = 0; i < 1000 && RecordingLog::count(5, begins) < 2; ++i)
        Sleep(5);
    Sleep(50);  // the second waits for the lock
    mayEmpty.set_value();
    first.join();
    second.join();

    const int told = Journal::shared().find("told of the loss");
    ASSERT_NE(told, -1);
    EXPECT_LT(told, Journal::shared().find("emptied"));
    ClipboardOwner().putNothing();
}
