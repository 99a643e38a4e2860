// Slices that stop arriving while an application reads: the wait in vain, and what it does to the transfer.
#include <atomic>
#include <chrono>
#include <stdexcept>
#include <thread>

#include "clipboard_writing_fixture.h"
#include "file_stream/transfer_file.h"

using namespace sd::clip;
using Microsoft::WRL::ComPtr;

namespace {

constexpr std::size_t kMebibyte = 1048576;

// While it lives, whoever waits for a slice of the file finds that the thirty seconds are over: the clock of the
// waiting thread leaps, and a signal has it look.
class ShortenedWait {
public:
    explicit ShortenedWait(TransferFile& file)
    {
        sReal = mHook.real();
        sLeap = 0;
        mSignaller = std::thread([this, &file] { makeLeaps(file); });
    }
    ~ShortenedWait()
    {
        mEnds = true;
        mSignaller.join();
        sWaiting = std::thread::id();
    }
    ShortenedWait(const ShortenedWait&) = delete;
    ShortenedWait& operator=(const ShortenedWait&) = delete;

private:
    static constexpr LONGLONG kLeapSeconds = 31;

    // One leap and signal may come before the wait has begun; then the next one ends it.
    void makeLeaps(TransferFile& file)
    {
        LARGE_INTEGER ticksPerSecond;
        QueryPerformanceFrequency(&ticksPerSecond);
        const std::string waits = "Wait slice file.. this=" + printAddress(&file);
        while (!mEnds) {
            const LogLine line = RecordingLog::firstLine(5, waits);
            if (line.level == 5) {
                sWaiting = line.thread;
                sLeap += kLeapSeconds * ticksPerSecond.QuadPart;
                file.NotifySliceReady();
            }
            Sleep(20);
        }
    }

    static BOOL WINAPI count(LARGE_INTEGER* ticks)
    {
        const BOOL result = sReal.load()(ticks);
        if (std::this_thread::get_id() == sWaiting.load())
            ticks->QuadPart += sLeap;
        return result;
    }

    static inline std::atomic<decltype(&QueryPerformanceCounter)> sReal{nullptr};
    static inline std::atomic<std::thread::id> sWaiting;
    static inline std::atomic<LONGLONG> sLeap{0};

    const ImportHook<decltype(&QueryPerformanceCounter)> mHook{nullptr, "QueryPerformanceCounter", &count};
    std::atomic<bool> mEnds{false};
    std::thread mSignaller;
};

class DownloadTimeout : public ClipboardWriting {
protected:
    DownloadTimeout() : ClipboardWriting({kMebibyte + 5, 20}) {}

    // Reads the first slice; of the second a part has arrived, and no more comes.
    void readUpToTheOpenSlice()
    {
        ASSERT_TRUE(set());
        ASSERT_EQ(paste(&mStream), S_OK);
        mRequest = TestAccess::notedObject(*mEngine)->GetRequest();
        mGuest.deliver(0, std::string(kMebibyte, 'a'));
        mGuest.deliver(0, "bcd");
        ASSERT_EQ(read(kMebibyte), S_OK);
        ASSERT_EQ(mBytesRead, kMebibyte);
        mGuest.listener->clear();
        RecordingLog::clear();
    }

    HRESULT readInVain()
    {
        const ShortenedWait shortened(*mRequest->GetTransferFile(mGuest.files[0]));
        return read(100);
    }

    HRESULT read(ULONG length)
    {
        std::string bytes(length, '\0');
        return mStream->Read(bytes.data(), length, &mBytesRead);
    }

    void expectCancelledOnce() const
    {
        EXPECT_EQ(RecordingLog::count(5, "Wait slice file timeout."), 1);
        EXPECT_EQ(RecordingLog::messages(6),
                  (std::vector<std::string>{"Read file conntext fail. Cancel remote transfer",
                                            "(0 < 100) copyed size:1048576, filesize:1048581"}));
        EXPECT_EQ(RecordingLog::count(5, "Cancel remote file request"), 1);
        EXPECT_EQ(mGuest.cancelled, std::vector<std::string>{"file0"});
        EXPECT_EQ(mRequest->GetRequestFileState(), RequestFileState::kRequestFailed);
        EXPECT_FALSE(isListOnClipboard());
    }

    ComPtr<IStream> mStream;
    ULONG mBytesRead = 0;
    std::shared_ptr<FileRequest> mRequest;
};

}  // namespace

TEST_F(DownloadTimeout, AReadInVainIsReportedOnceAndCancelsTheTransfer)
{
    ASSERT_NO_FATAL_FAILURE(readUpToTheOpenSlice());
    EXPECT_EQ(readInVain(), S_FALSE);
    EXPECT_EQ(mBytesRead, 0u);
    ASSERT_EQ(mGuest.listener->events().size(), 1u);
    // What the reader has copied, not what has arrived.
    EXPECT_EQ(fieldsOf(lastEvent()), (Fields{"transferFail", "downloadError", "file", "1048581",
                                             "transfer fail when downloadSize/fileSize:1048576/1048581", "error",
                                             "1502", "download timeout"}));
    expectCancelledOnce();
}

TEST_F(DownloadTimeout, WithoutAListenerTheReadEndsAndCancelsJustTheSame)
{
    ASSERT_NO_FATAL_FAILURE(readUpToTheOpenSlice());
    mEngine->SetListener(nullptr);
    EXPECT_EQ(readInVain(), S_FALSE);
    EXPECT_EQ(mBytesRead, 0u);
    expectCancelledOnce();
}

TEST_F(DownloadTimeout, AListenerThatThrowsFailsTheReadAndTheTransferIsCancelledAllTheSame)
{
    ASSERT_NO_FATAL_FAILURE(readUpToTheOpenSlice());
    mGuest.listener->duringEvent = [](const RecordedEvent&) { throw std::runtime_error("the host's"); };
    EXPECT_EQ(readInVain(), E_FAIL);
    EXPECT_EQ(mBytesRead, 0u);
    EXPECT_EQ(mGuest.eventsOf("transferFail").size(), 1u);
    EXPECT_EQ(RecordingLog::messages(6), Fields{"Read file conntext fail. Cancel remote transfer"});
    EXPECT_EQ(mGuest.cancelled, std::vector<std::string>{"file0"});
    EXPECT_EQ(mRequest->GetRequestFileState(), RequestFileState::kRequestFailed);
    EXPECT_FALSE(isListOnClipboard());
    const TransferFile& file = *mRequest->GetTransferFile(mGuest.files[0]);
    EXPECT_EQ(TestAccess::sliceReader(file), nullptr);
    EXPECT_EQ(TestAccess::readSliceIndex(file), 0);
}

TEST_F(DownloadTimeout, WhatComesLaterIsDroppedAndTheNextListWorks)
{
    ASSERT_NO_FATAL_FAILURE(readUpToTheOpenSlice());
    readInVain();
    mGuest.deliver(0, "ef");
    EXPECT_EQ(RecordingLog::count(6, "mClipData is nullptr. maybe use canceled."), 1);

    ASSERT_TRUE(set());
    ASSERT_EQ(paste(&mStream), S_OK);
    EXPECT_EQ(mGuest.requested, (std::vector<std::string>{"file0", "file0"}));
    mGuest.deliver(0, std::string(kMebibyte + 5, 'z'));
    EXPECT_EQ(read(kMebibyte + 5), S_OK);
    EXPECT_EQ(mGuest.cancelled.size(), 1u);
}
