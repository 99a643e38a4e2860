// The library looks at the clipboard after each change, and has it open meanwhile; the emptying with which a list of
// streams begins is such a change. The list is published all the same.
#include <atomic>

#include "example_support/utf8_arguments.h"
#include "lazy_test.h"
#include "support/clipboard_owner.h"
#include "support/import_hook.h"
#include "support/recording_log.h"

namespace {

constexpr DWORD kSlowLook = 400;  // milliseconds

std::atomic<int> gLooks{0};

// The clipboard is open while this runs.
HANDLE WINAPI lookSlowly(UINT format)
{
    ++gLooks;
    Sleep(kSlowLook);
    return GetClipboardData(format);
}

class LazyCollision : public LazyTest {
protected:
    // Has a user copy something, and returns while the library looks at it.
    static void copyAndAwaitLook()
    {
        const int before = gLooks;
        ClipboardOwner().putText(L"hello");
        EXPECT_TRUE(waitUntil([before] { return gLooks > before; }));
    }

    ImportHook<decltype(&GetClipboardData)> mSlowLook{GetModuleHandleW(L"md-clipboard.dll"), "GetClipboardData",
                                                      lookSlowly};
};

}  // namespace

TEST_F(LazyCollision, AListOfStreamsIsPublishedWhileTheLibraryLooks)
{
    copyAndAwaitLook();
    const auto list = offerNew({{"", "small.bin", makeBytes(1000)}});
    EXPECT_TRUE(RecordingLog::hasLine(5, "OLE Clipboard Set Done"));
    EXPECT_FALSE(RecordingLog::hasLine(5, "OleSetClipboard return "));
    EXPECT_EQ(paste(L"streams"), kPasteWritten) << mOutput;
    expectPasted(*list, L"streams");
}
