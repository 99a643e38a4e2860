// The request for a guest's list: asked once, vetoed, failed, cancelled and cut.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <future>
#include <stdexcept>

#include "data_object/data_lock.h"
#include "file_request_fixture.h"

using namespace sd::clip;
namespace fs = std::filesystem;

namespace {

using State = RequestFileState;

}  // namespace

TEST_F(FileRequestTest, ARequestReachesTheHostOnceAndIsReported)
{
    EXPECT_EQ(mRequest->GetRequestFileState(), State::kRequestIdle);
    EXPECT_FALSE(mRequest->IsDataTransfering());
    EXPECT_TRUE(start());
    EXPECT_EQ(mGuest.requested, std::vector<std::string>{"file0"});
    EXPECT_EQ(mRequest->GetRequestFileState(), State::kRequesting);
    EXPECT_TRUE(mRequest->IsDataTransfering());
    EXPECT_EQ(mGuest.eventsOf("triggerClipboardFilePaste"), std::vector<std::string>{"start request file transfer"});
    EXPECT_EQ(RecordingLog::count(5, "startRequestFileData:file0 mRequestFileState:0"), 1);
    EXPECT_EQ(RecordingLog::count(5, "RequestFileState:1"), 1);
    EXPECT_TRUE(fs::is_directory(mGuest.folder.path() + L"\\cache"));
}

TEST_F(FileRequestTest, ASecondRequestIsDeclinedWithoutARejection)
{
    start();
    bool rejected = true;
    EXPECT_FALSE(start(&rejected));
    EXPECT_FALSE(rejected);
    EXPECT_EQ(mGuest.requested.size(), 1u);
    EXPECT_EQ(RecordingLog::count(5, "File is requesting or finished, dont need start request again!"), 1);
}

TEST_F(FileRequestTest, ASecondRequestDuringTheQuestionIsDeclinedAtOnce)
{
    bool rejected = true;
    mGuest.record->SetOLEClipboardPasteFunc([&] {
        EXPECT_FALSE(std::async(std::launch::async, [&] { return start(&rejected); }).get());
        return true;
    });
    EXPECT_TRUE(start());
    EXPECT_FALSE(rejected);
    EXPECT_EQ(mGuest.requested.size(), 1u);
}

TEST_F(FileRequestTest, OfTwoFirstRequestsAtOnceOneReachesTheHost)
{
    std::atomic<int> made{0};
    std::vector<std::future<void>> requests;
    {
        const DataLockScope lock(TestAccess::dataLock(*mRequest));
        for (int i = 0; i < 2; ++i)
            requests.push_back(std::async(std::launch::async, [&] { made += start() ? 1 : 0; }));
        Sleep(100);  // time for both to come this far
    }
    for (auto& request : requests)
        request.get();
    EXPECT_EQ(made, 1);
    EXPECT_EQ(mGuest.requested.size(), 1u);
    EXPECT_EQ(mGuest.eventsOf("triggerClipboardFilePaste").size(), 1u);
}

TEST_F(FileRequestTest, ADeclinedRequestIsLoggedWithItsFileAndTheState)
{
    start();
    RecordingLog::clear();
    start();
    mGuest.deliver(0, "0");
    start();
    const std::string declined = "File is requesting or finished, dont need start request again!";
    auto messages = RecordingLog::messages(5);
    messages.erase(std::remove_if(messages.begin(), messages.end(),
                                  [&](const std::string& message) {
                                      return message != declined && message.rfind("startRequestFileData:", 0) != 0;
                                  }),
                   messages.end());
    EXPECT_EQ(messages, (std::vector<std::string>{"startRequestFileData:file0 mRequestFileState:1", declined,
                                                  "startRequestFileData:file0 mRequestFileState:2", declined}));
}

TEST_F(FileRequestTest, ARecordWithoutFilesIsNotRequested)
{
    mRequest->SetClipboardData(std::make_shared<ClipboardTextDataImpl>());
    EXPECT_FALSE(start());
    EXPECT_EQ(mRequest->GetRequestFileState(), State::kRequestIdle);
    EXPECT_TRUE(mGuest.requested.empty());
}

TEST_F(FileRequestTest, AVetoLeavesTheStateAndIsAskedAgain)
{
    int asked = 0;
    mGuest.record->SetOLEClipboardPasteFunc([&asked] { return ++asked > 1; });
    bool rejected = false;
    EXPECT_FALSE(start(&rejected));
    EXPECT_TRUE(rejected);
    EXPECT_EQ(mRequest->GetRequestFileState(), State::kRequestIdle);
    EXPECT_EQ(RecordingLog::count(5, "Abort ole clipboard paste due to APP rejection."), 1);
    EXPECT_TRUE(mGuest.listener->events().empty());
    EXPECT_TRUE(start(&rejected));
    EXPECT_FALSE(rejected);
}

TEST_F(FileRequestTest, ARequestFromInsideTheVetoCountsAsUnderWay)
{
    bool inner = true;
    mGuest.record->SetOLEClipboardPasteFunc([&] {
        inner = start();
        return true;
    });
    EXPECT_TRUE(start());
    EXPECT_FALSE(inner);
    EXPECT_EQ(mGuest.requested.size(), 1u);
}

TEST_F(FileRequestTest, AVetoThatThrowsDoesNotCountAsUnderWayForEver)
{
    mGuest.record->SetOLEClipboardPasteFunc([]() -> bool { throw std::runtime_error("the host's"); });
    EXPECT_THROW(start(), std::runtime_error);
    mGuest.record->SetOLEClipboardPasteFunc(nullptr);
    EXPECT_TRUE(start());
}

TEST_F(FileRequestTest, ARequestFunctionThatThrowsLeavesARequestThatFailedAndCanBeTriedAgain)
{
    mGuest.record->SetFileFuncs(
        [](const ClipfileDescription&, const FileDataRequestCallback&) -> std::string {
            throw std::runtime_error("the host's");
        },
        nullptr);
    EXPECT_THROW(start(), std::runtime_error);
    EXPECT_EQ(mRequest->GetRequestFileState(), State::kRequestFailed);
    EXPECT_FALSE(mRequest->IsDataTransfering());
    mGuest.record->SetFileFuncs(
        [](const ClipfileDescription&, const FileDataRequestCallback&) { return std::string(); }, nullptr);
    EXPECT_TRUE(start());
}

TEST_F(FileRequestTest, WithoutARequestFunctionItFailsAndCanBeTriedAgain)
{
    mGuest.record->SetFileFuncs(nullptr, nullptr);
    bool rejected = true;
    EXPECT_FALSE(start(&rejected));
    EXPECT_FALSE(rejected);
    EXPECT_EQ(mRequest->GetRequestFileState(), State::kRequestFailed);
    EXPECT_EQ(RecordingLog::count(6, "request file data func is null"), 1);
    EXPECT_FALSE(start());
    EXPECT_EQ(RecordingLog::count(6, "request file data func is null"), 2);
}

TEST_F(FileRequestTest, AHostThatDeliversInsideItsRequestFunctionIsServed)
{
    mGuest.record->SetFileFuncs(
        [](const ClipfileDescription& file, const FileDataRequestCallback& sink) {
            unsigned char oneByte = 'x';
            sink(file, &oneByte, 1);
            return std::string();
        },
        nullptr);
    EXPECT_TRUE(start());
    EXPECT_EQ(mRequest->GetRequestFileState(), State::kTransfering);
}

TEST_F(FileRequestTest, ACancelWithoutAStreamNamesTheFileThatWasRequested)
{
    start();
    mRequest->CancelRemoteTransfer();
    EXPECT_EQ(mGuest.cancelled, std::vector<std::string>{"file0"});
    mRequest->CancelRemoteTransfer();
    EXPECT_EQ(mGuest.cancelled.size(), 1u);
}

TEST_F(FileRequestTest, ACancelFunctionThatThrowsStillEndsTheTransfer)
{
    const auto request = [](const ClipfileDescription&, const FileDataRequestCallback&) { return std::string(); };
    mGuest.record->SetFileFuncs(request, [](const ClipfileDescription&) { throw std::runtime_error("the host's"); });
    start();
    mRequest->CancelRemoteTransfer();
    EXPECT_EQ(mRequest->GetRequestFileState(), State::kRequestFailed);
    EXPECT_EQ(RecordingLog::count(6, "The host's cancel function failed: the host's"), 1);
}

// An object's end, and what waits for the release of a data lock, can hand an exception to nobody.
TEST_F(FileRequestTest, ACancelFunctionThatThrowsAtTheEndOfTheObjectEndsNoProcess)
{
    const auto request = [](const ClipfileDescription&, const FileDataRequestCallback&) { return std::string(); };
    mGuest.record->SetFileFuncs(request, [](const ClipfileDescription&) { throw 1; });
    start();
    mRequest->Cut();
    EXPECT_EQ(mRequest->GetRequestFileState(), State::kRequestFailed);
    EXPECT_EQ(RecordingLog::count(6, "The host's cancel function failed: unknown exception"), 1);
}

TEST_F(FileRequestTest, ACancelAfterTheEndDoesNothing)
{
    start();
    deliverAll();
    mRequest->CancelRemoteTransfer();
    EXPECT_TRUE(mGuest.cancelled.empty());
    EXPECT_NE(mRequest->GetClipboardData(), nullptr);
}

TEST_F(FileRequestTest, TheDataLockIsHeldWhileTheHostsPasteAndRequestFunctionsRun)
{
    bool duringPaste = false;
    bool duringRequest = false;
    mGuest.record->SetOLEClipboardPasteFunc([&] {
        duringPaste = isDataLockTaken();
        return true;
    });
    mGuest.record->SetFileFuncs(
        [&](const ClipfileDescription&, const FileDataRequestCallback&) {
            duringRequest = isDataLockTaken();
            return std::string();
        },
        nullptr);
    EXPECT_TRUE(start());
    EXPECT_TRUE(duringPaste);
    EXPECT_TRUE(duringRequest);
    EXPECT_FALSE(isDataLockTaken());
}

TEST_F(FileRequestTest, NoLockIsHeldWhileTheHostsCancelFunctionRuns)
{
    // Another thread delivers while the cancel function runs and waits for it; under a lock neither would go on.
    mGuest.record->SetFileFuncs(
        [this](const ClipfileDescription&, FileDataRequestCallback sink) {
            mGuest.sink = std::move(sink);
            return std::string();
        },
        [this](const ClipfileDescription&) {
            EXPECT_FALSE(DataLockScope::isHeldByThisThread());
            auto delivery = std::async(std::launch::async, [this] { mGuest.deliver(0, "x"); });
            EXPECT_EQ(delivery.wait_for(std::chrono::seconds(5)), std::future_status::ready);
        });
    start();
    addStream();
    mGuest.deliver(0, "0");
    fallSilent(3);
    mGuest.deliver(0, "1");
    EXPECT_EQ(RecordingLog::count(6, "mClipData is nullptr. maybe use canceled."), 1);
}

TEST_F(FileRequestTest, CutCancelsATransferOnceAndDropsWhatComesLater)
{
    start();
    addStream();
    mGuest.deliver(0, "0");
    mRequest->Cut();
    EXPECT_EQ(mGuest.cancelled.size(), 1u);
    EXPECT_EQ(mRequest->GetStream(), nullptr);
    mGuest.deliver(0, "1");
    EXPECT_EQ(RecordingLog::count(6, "mClipData is nullptr. maybe use canceled."), 1);
    mRequest->Cut();
    EXPECT_EQ(mGuest.cancelled.size(), 1u);
}

TEST_F(FileRequestTest, AFailureReportWithoutAStreamDoesItsOtherSteps)
{
    mRequest->NotifyFileTransferFailed();
    EXPECT_EQ(RecordingLog::count(5, "Cancel file stream wait."), 1);
}

TEST_F(FileRequestTest, ItGoesWithItsRecordsOnceNoStreamAndNoSinkHoldsIt)
{
    auto request = std::make_shared<FileRequest>();
    const std::weak_ptr<FileRequest> watched = request;
    request->SetClipboardData(mGuest.record);
    bool rejected = false;
    ASSERT_TRUE(request->startRequestFileData(mGuest.files[0], rejected));
    mGuest.deliver(0, "01234");
    Microsoft::WRL::ComPtr<FileStream> stream;
    *stream.GetAddressOf() =
        new FileStream(std::make_shared<DetailFileDescription>(mGuest.files[0]), request, kFileModeTransfer);
    request->SetStream(stream.Get());
    request->Cut();
    request.reset();
    EXPECT_FALSE(watched.expired());
    mGuest.sink = nullptr;
    EXPECT_FALSE(watched.expired());  // somebody may be reading
    stream.Reset();
    EXPECT_TRUE(watched.expired());
}
