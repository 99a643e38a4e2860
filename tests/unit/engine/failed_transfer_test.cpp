// The host's report that a transfer failed.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <future>
#include <thread>

#include "clipboard_writing_fixture.h"

using namespace sd::clip;
using Microsoft::WRL::ComPtr;

namespace {

HRESULT readOneByte(IStream& stream)
{
    char byte = 0;
    ULONG count = 0;
    return stream.Read(&byte, 1, &count);
}

// A read on a thread of its own, held in its first pause: nothing has arrived yet.
class HeldRead {
public:
    explicit HeldRead(IStream& stream)
    {
        sHeld = this;
        sReal = mHook.real();
        mResult = std::async(std::launch::async, [this, &stream] {
            mReader = std::this_thread::get_id();
            return readOneByte(stream);
        });
        mInside.get_future().wait();
    }
    HeldRead(const HeldRead&) = delete;
    HeldRead& operator=(const HeldRead&) = delete;

    // Once.
    HRESULT finish()
    {
        mGo.set_value();
        return mResult.get();
    }

private:
    static constexpr DWORD kRecordPause = 500;

    static VOID WINAPI pause(DWORD milliseconds)
    {
        HeldRead& held = *sHeld;
        if (milliseconds != kRecordPause || std::this_thread::get_id() != held.mReader.load()) {
            sReal.load()(milliseconds);
            return;
        }
        if (!held.mWasInside.exchange(true)) {
            held.mInside.set_value();
            held.mGo.get_future().wait();
        }
    }

    static inline std::atomic<HeldRead*> sHeld{nullptr};
    static inline std::atomic<decltype(&Sleep)> sReal{nullptr};

    const ImportHook<decltype(&Sleep)> mHook{nullptr, "Sleep", &pause};
    std::atomic<std::thread::id> mReader{};
    std::atomic<bool> mWasInside{false};
    std::promise<void> mInside;
    std::promise<void> mGo;
    std::future<HRESULT> mResult;
};

class FailedTransfer : public ClipboardWriting {
protected:
    // Whether the report has come to the stream, within a generous time.
    static bool waitForStreamsCancel()
    {
        for (int i = 0; i < 5000; ++i) {
            const auto lines = RecordingLog::lines();
            if (std::any_of(lines.begin(), lines.end(), [](const LogLine& line) { return line.function == "Cancel"; }))
                return true;
            Sleep(2);
        }
        return false;
    }
};

}  // namespace

TEST_F(FailedTransfer, AFailedTransferEmptiesTheClipboardWithoutAnEvent)
{
    set();
    ComPtr<IStream> stream;
    ASSERT_EQ(paste(&stream), S_OK);
    mGuest.listener->clear();
    mEngine->NotifyFileTransferFailed(2);
    EXPECT_TRUE(isListOnClipboard());
    EXPECT_EQ(TestAccess::clipData(*mEngine), mGuest.record);
    EXPECT_EQ(RecordingLog::count(5, "fail:2"), 1);
    mEngine->NotifyFileTransferFailed(1);
    EXPECT_EQ(TestAccess::notedObject(*mEngine), nullptr);
    EXPECT_EQ(TestAccess::clipData(*mEngine), nullptr);
    EXPECT_EQ(RecordingLog::count(5, "Cancel file stream wait."), 1);
    EXPECT_FALSE(isListOnClipboard());
    EXPECT_TRUE(mGuest.listener->events().empty());
    EXPECT_EQ(readOneByte(*stream.Get()), STG_E_REVERTED);
    EXPECT_TRUE(set());  // the next list works
}

TEST_F(FailedTransfer, AFailureReportWithoutATransferIsLoggedOnly)
{
    mEngine->NotifyFileTransferFailed(1);
    set();
    mEngine->NotifyFileTransferFailed(1);
    EXPECT_EQ(RecordingLog::count(6, "clipboard file request is not transfering"), 1);
    EXPECT_TRUE(isListOnClipboard());
}

TEST_F(FailedTransfer, WithoutAnObjectAFailureReportSaysSo)
{
    set();
    ASSERT_EQ(paste(), S_OK);
    mEngine->NotifyFileTransferFailed(1);
    RecordingLog::clear();
    mEngine->NotifyFileTransferFailed(1);
    EXPECT_EQ(RecordingLog::messages(),
              (std::vector<std::string>{"fail:1", "ClipDataObject is nullptr, don't need reset oleclipboard"}));
}

TEST_F(FailedTransfer, AFailureReportFromInsideTheRequestFunctionEndsTheTransferAndItsLaterStream)
{
    mGuest.record->SetFileFuncs(
        [this](const ClipfileDescription&, const FileDataRequestCallback&) {
            mEngine->NotifyFileTransferFailed(1);
            return std::string();
        },
        nullptr);
    set();
    ComPtr<IDataObject> kept(TestAccess::notedObject(*mEngine));  // its death would revert the stream as well
    ComPtr<IStream> stream;
    ASSERT_EQ(pasteDirectly(&stream), S_OK);
    EXPECT_EQ(readOneByte(*stream.Get()), STG_E_REVERTED);
    EXPECT_EQ(TestAccess::notedObject(*mEngine), nullptr);
    EXPECT_FALSE(isListOnClipboard());
    EXPECT_TRUE(set());
    kept.Reset();
    EXPECT_TRUE(isListOnClipboard());
}

TEST_F(FailedTransfer, AReportThatWaitsForAReaderLeavesANewerListInPlace)
{
    set();
    ComPtr<IStream> stream;
    ASSERT_EQ(pasteDirectly(&stream), S_OK);
    HeldRead read(*stream.Get());
    auto report = std::async(std::launch::async, [this] { mEngine->NotifyFileTransferFailed(1); });
    ASSERT_TRUE(waitForStreamsCancel());

    RecordingLog::clear();
    ClipboardOwner().putText(L"the user's");  // the data object dies, and the transfer with it
    ASSERT_TRUE(RecordingLog::waitForLine(5, "mClipDataObject="));
    ASSERT_TRUE(set());
    ClipDataObject* const newer = TestAccess::notedObject(*mEngine);
    ASSERT_NE(newer, nullptr);
    EXPECT_EQ(report.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);

    EXPECT_EQ(read.finish(), STG_E_REVERTED);
    report.get();
    EXPECT_EQ(TestAccess::notedObject(*mEngine), newer);
    EXPECT_EQ(TestAccess::clipData(*mEngine), mGuest.record);
    EXPECT_TRUE(isListOnClipboard());
}
