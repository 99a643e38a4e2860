#include "dll_host.h"

#include <gtest/gtest.h>

#include "support/child_process.h"
#include "support/clipboard_owner.h"
#include "support/recording_log.h"

using namespace sd::clip;

DllHost& DllHost::shared()
{
    static auto& host = *new DllHost;
    return host;
}

DllHost::DllHost()
    : mDll(GetModuleHandleW(L"md-clipboard.dll")),
      mLog(mDll, "lumoraLogPrint", RecordingLog::function()),
      mFix(mDll),
      mClipboard(Clipboard::Get()),
      mListener(std::make_shared<RecordingListener>())
{
    ClipboardOwner().putNothing();
    mClipboard->SetListener(mListener);
    mClipboard->SetFileClipboardSupported(true);
    mThread.run([this] {
        SetLastError(0);
        mClipboard->Init();
    });
    if (!RecordingLog::waitForLine(5, "Sync clipboard to client end.") || !mListener->waitForReports(1))
        throw std::runtime_error("the host did not start");
}

void DllHost::listenAgain()
{
    mListener->clear();
    mClipboard->SetListener(mListener);
}

void DllHost::copy(const std::vector<std::wstring>& arguments)
{
    mListener->clear();
    ChildProcess child(L"clip-copy.exe", arguments);
    ASSERT_EQ(child.waitForExit(), 0u) << child.output();
    ASSERT_TRUE(mListener->waitForReports(1)) << child.output();
    Sleep(50);  // emptying and filling the clipboard may be reported as two changes
}

std::vector<ClipfileDescription> DllHost::receive()
{
    const auto record =
        std::dynamic_pointer_cast<ClipboardFileDataImpl>(mClipboard->GetClipboardData(ClipboardFormat::File));
    EXPECT_NE(record, nullptr);
    return record ? record->GetFiles() : std::vector<ClipfileDescription>();
}
