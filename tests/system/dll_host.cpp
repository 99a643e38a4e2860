#include "dll_host.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <utility>

#include "support/child_process.h"
#include "support/clipboard_owner.h"
#include "support/recording_log.h"

using namespace sd::clip;

namespace {

// Hears of files, and then of nothing any more. Changes are looked at one after the other, and those that come during a
// report are looked at once, after it: so the report that follows an emptying from inside a report is the last one.
class SettlingListener : public ClipboardListener {
public:
    explicit SettlingListener(const PumpingThread& windowThread) : mWindowThread(windowThread) {}

    void OnClipboardFormats(const std::vector<ClipboardFormat>& formats) override
    {
        if (mEmptied) {
            if (!std::exchange(mIsSettled, true))
                mSettled.set_value();
        } else if (!formats.empty()) {
            mEmptied = true;
            ClipboardOwner().putNothing();
            mWindowThread.run([] {});  // behind the messages about all changes
        }
    }
    void OnClipboardEvent(std::string, std::string, std::string, std::int64_t, std::string, std::string, std::string,
                          std::string) override
    {
    }

    bool wait()
    {
        return mSettled.get_future().wait_for(std::chrono::seconds(20)) == std::future_status::ready;
    }

private:
    const PumpingThread& mWindowThread;
    bool mEmptied = false;    // the worker's alone
    bool mIsSettled = false;  // the worker's alone
    std::promise<void> mSettled;
};

}  // namespace

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

void DllHost::settle()
{
    const auto listener = std::make_shared<SettlingListener>(mThread);
    mClipboard->SetListener(listener);
    ClipboardOwner().putDropList({ownFolder() + L"\\md-clipboard.dll"});
    EXPECT_TRUE(listener->wait());
    listenAgain();
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
