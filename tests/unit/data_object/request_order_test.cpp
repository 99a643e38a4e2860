// The order in which a request and its deliveries change what others see: the host's functions, a listener and a reader
// look from within.
#include <algorithm>
#include <chrono>
#include <filesystem>
#include <future>

#include "file_request_fixture.h"

using namespace sd::clip;
namespace fs = std::filesystem;

namespace {

using Seen = std::vector<std::string>;

class RequestOrder : public FileRequestTest {
protected:
    ~RequestOrder() override
    {
        mGuest.listener->duringEvent = nullptr;
    }

    bool isDirectoryMade() const
    {
        return fs::is_directory(mGuest.folder.path() + L"\\cache");
    }

    void see(const std::string& where)
    {
        const auto state = std::to_string(static_cast<int>(mRequest->GetRequestFileState()));
        mSeen.push_back(where + ": state " + state + (isDirectoryMade() ? ", directory" : ", no directory"));
    }

    void seeEvents()
    {
        mGuest.listener->duringEvent = [this](const RecordedEvent& event) { see(event.operation); };
    }

    void setCancelFunction(const std::function<void()>& function)
    {
        mGuest.record->SetFileFuncs(mGuest.record->GetFileRequestFunc(),
                                    [function](const ClipfileDescription&) { function(); });
    }

    // The host's cancel function finds the transfer as it was.
    void expectUnchangedDuringTheCancel(RequestFileState before)
    {
        int calls = 0;
        setCancelFunction([&] {
            ++calls;
            EXPECT_EQ(mRequest->GetRequestFileState(), before);
            EXPECT_TRUE(mRequest->IsDataTransfering());
            EXPECT_EQ(mRequest->GetClipboardData(), mGuest.record);
        });
        mRequest->CancelRemoteTransfer();
        EXPECT_EQ(calls, 1);
        EXPECT_EQ(mRequest->GetRequestFileState(), RequestFileState::kRequestFailed);
        EXPECT_FALSE(mRequest->IsDataTransfering());
        EXPECT_EQ(mRequest->GetClipboardData(), nullptr);
    }

    Seen mSeen;
};

}  // namespace

// ---- The request ----

TEST_F(RequestOrder, TheEventThenTheStateAndTheDirectoryStandBetweenConsentAndTheRequestFunction)
{
    mGuest.record->SetOLEClipboardPasteFunc([this] {
        see("paste function");
        return true;
    });
    mGuest.record->SetFileFuncs(
        [this](const ClipfileDescription&, const auto&) {
            see("request function");
            return std::string();
        },
        nullptr);
    seeEvents();
    EXPECT_TRUE(start());
    EXPECT_EQ(mSeen, (Seen{"paste function: state 0, no directory", "triggerClipboardFilePaste: state 0, no directory",
                           "request function: state 1, directory"}));
}

TEST_F(RequestOrder, AVetoMakesNoDirectory)
{
    mGuest.record->SetOLEClipboardPasteFunc([] { return false; });
    EXPECT_FALSE(start());
    EXPECT_FALSE(isDirectoryMade());
}

TEST_F(RequestOrder, TheDirectoryIsMadeThoughThereIsNoRequestFunction)
{
    mGuest.record->SetFileFuncs(nullptr, nullptr);
    seeEvents();
    EXPECT_FALSE(start());
    EXPECT_EQ(mSeen, Seen{"triggerClipboardFilePaste: state 0, no directory"});
    EXPECT_TRUE(isDirectoryMade());
}

// ---- Deliveries ----

TEST_F(RequestOrder, TheTransferHasEndedInTheEventOfTheListsEnd)
{
    start();
    int ends = 0;
    mGuest.listener->duringEvent = [&](const RecordedEvent& event) {
        if (event.operation != "endClipboardFile")
            return;
        ++ends;
        EXPECT_EQ(mRequest->GetRequestFileState(), RequestFileState::kRequestFinished);
        EXPECT_FALSE(std::async(std::launch::async, [this] { return mRequest->IsDataTransfering(); }).get());
    };
    deliverAll();
    EXPECT_EQ(ends, 2);  // an empty file comes after the last byte
}

TEST_F(RequestOrder, AReaderThatWaitsGoesOnWhileTheListenerIsInTheEventOfTheFilesEnd)
{
    start();
    mGuest.deliver(0, "");
    auto reading = std::async(std::launch::async, [this] {
        std::string bytes(10, '\0');
        std::uint32_t count = 0;
        EXPECT_TRUE(record(0)->Read(bytes.data(), 10, &count));
        return bytes.substr(0, count);
    });
    ASSERT_TRUE(RecordingLog::waitForLine(5, "Wait slice file.. this=", 20000));
    Sleep(100);  // time to fall asleep
    HeldDelivery held(mGuest, 0);
    // Without a signal it would look again after the 30 seconds of its wait.
    EXPECT_EQ(reading.wait_for(std::chrono::seconds(20)), std::future_status::ready);
    held.letGo();
    EXPECT_EQ(reading.get(), "aaaaaaaaaa");
}

// ---- The cancel ----

// The cancel waits for the release of the lock, which a host that delivers from inside an event puts off.
TEST_F(RequestOrder, BetweenASilenceAndItsCancelDeliveriesAreDropped)
{
    start();
    addStream();
    mGuest.listener->duringEvent = [this](const RecordedEvent& event) {
        if (event.operation != "transferFinish")
            return;
        fallSilent(3);
        mGuest.deliver(1, "0");
        EXPECT_TRUE(mGuest.cancelled.empty());
        mGuest.deliver(1, "1");
    };
    mGuest.deliver(0, "0123456789");
    EXPECT_EQ(mGuest.eventsOf("cancelTransfer").size(), 1u);
    EXPECT_EQ(RecordingLog::count(6, "mClipData is nullptr. maybe use canceled."), 1);
    EXPECT_EQ(mGuest.cancelled.size(), 1u);
    EXPECT_EQ(record(1), nullptr);
}

TEST_F(RequestOrder, ARequestCountsAsRunningUntilTheCancelFunctionHasReturned)
{
    start();
    expectUnchangedDuringTheCancel(RequestFileState::kRequesting);
}

TEST_F(RequestOrder, ATransferCountsAsRunningUntilTheCancelFunctionHasReturned)
{
    start();
    mGuest.deliver(0, "01234");
    expectUnchangedDuringTheCancel(RequestFileState::kTransfering);
}
