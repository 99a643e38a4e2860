#include "support/opened_clipboard.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "support/import_hook.h"
#include "support/journal.h"

using sd::clip::OpenedClipboard;

namespace {

bool gOpens = true;

// The system clipboard is replaced: its calls go to the journal.
class OpenedClipboardTest : public testing::Test {
protected:
    OpenedClipboardTest()
    {
        gOpens = true;
    }

    static void expectCalls(const std::vector<std::string>& calls)
    {
        EXPECT_EQ(Journal::shared().entries(), calls);
    }

private:
    const ImportHook<decltype(&OpenClipboard)> mOpen{nullptr, "OpenClipboard", +[](HWND window) -> BOOL {
                                                         EXPECT_EQ(window, nullptr);
                                                         Journal::shared().add("open");
                                                         SetLastError(5);
                                                         return gOpens ? TRUE : FALSE;
                                                     }};
    const ImportHook<decltype(&CloseClipboard)> mClose{nullptr, "CloseClipboard", +[]() -> BOOL {
                                                           Journal::shared().add("close");
                                                           SetLastError(77);
                                                           return FALSE;
                                                       }};
};

void onAnotherThread(const std::function<void()>& function)
{
    std::thread(function).join();
}

}  // namespace

TEST_F(OpenedClipboardTest, IsClosedAtItsEnd)
{
    {
        OpenedClipboard clipboard;
        EXPECT_FALSE(clipboard.IsOpenHere());
        EXPECT_TRUE(clipboard.Open());
        EXPECT_TRUE(clipboard.IsOpenHere());
        expectCalls({"open"});
    }
    expectCalls({"open", "close"});
}

TEST_F(OpenedClipboardTest, WithoutAnOpenNothingIsClosed)
{
    {
        const OpenedClipboard clipboard;
    }
    expectCalls({});
}

TEST_F(OpenedClipboardTest, AFailedOpenLeavesItsErrorAndIsNotClosed)
{
    gOpens = false;
    {
        OpenedClipboard clipboard;
        EXPECT_FALSE(clipboard.Open());
        EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
        EXPECT_FALSE(clipboard.IsOpenHere());
    }
    expectCalls({"open"});
}

TEST_F(OpenedClipboardTest, CloseClosesNowAndLeavesItsError)
{
    {
        OpenedClipboard clipboard;
        EXPECT_TRUE(clipboard.Open());
        clipboard.Close();
        EXPECT_EQ(GetLastError(), 77u);
        EXPECT_FALSE(clipboard.IsOpenHere());
        expectCalls({"open", "close"});
    }
    expectCalls({"open", "close"});
}

TEST_F(OpenedClipboardTest, CloseWithoutAnOpenAsksThePlatform)
{
    OpenedClipboard clipboard;
    clipboard.Close();
    expectCalls({"close"});
}

TEST_F(OpenedClipboardTest, IsOpenForTheThreadThatOpenedItWhoeverElseAsksForItsClose)
{
    OpenedClipboard clipboard;
    EXPECT_TRUE(clipboard.Open());
    onAnotherThread([&] {
        EXPECT_FALSE(clipboard.IsOpenHere());
        clipboard.Close();
    });
    EXPECT_TRUE(clipboard.IsOpenHere());
    expectCalls({"open", "close"});
}
