#include "data_object/file_request.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <future>
#include <iterator>
#include <stdexcept>
#include <thread>

#include "data_object/data_lock.h"
#include "data_object/transfer_file.h"
#include "file_stream/file_stream.h"
#include "file_stream/read_heartbeat.h"
#include "guest_list.h"
#include "support/recording_log.h"

using namespace sd::clip;
namespace fs = std::filesystem;

namespace {

using State = RequestFileState;

class FileRequestTest : public testing::Test {
protected:
    explicit FileRequestTest(const std::vector<std::uint64_t>& sizes = {10, 20, 0}) : mGuest(sizes)
    {
        gLastReadTime = 0;
        gReadState = ReadState::kNeverRead;
        mRequest->SetClipboardData(mGuest.record);
        RecordingLog::clear();
    }
    ~FileRequestTest() override
    {
        mRequest->Cut();
    }

    bool start(bool* rejected = nullptr)
    {
        bool answer = false;
        const bool result = mRequest->startRequestFileData(mGuest.files[0], rejected != nullptr ? *rejected : answer);
        return result;
    }

    void addStream()
    {
        auto* const stream = new FileStream(std::make_shared<DetailFileDescription>(mGuest.files[1]), mRequest, 2);
        mRequest->SetStream(stream);
        stream->Release();
    }

    // As after a pasting application that has read nothing for so long.
    static void fallSilent(int seconds)
    {
        gReadState = ReadState::kBetweenReads;
        gLastReadTime = static_cast<std::int64_t>(std::time(nullptr)) - seconds;
    }

    std::vector<std::string> sliceContents() const
    {
        std::vector<std::string> contents;
        for (const auto& entry : fs::directory_iterator(mGuest.folder.path() + L"\\cache")) {
            std::ifstream file(entry.path(), std::ios::binary);
            contents.emplace_back(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
        }
        return contents;
    }

    GuestList mGuest;
    const std::shared_ptr<FileRequest> mRequest = std::make_shared<FileRequest>();
};

// Holds a delivery inside the event of its file's end.
struct HoldingListener : RecordingListener {
    std::function<void()> during;
    void OnClipboardEvent(std::string operation, std::string stage, std::string dataType, std::int64_t number,
                          std::string message, std::string result, std::string code, std::string detail) override
    {
        if (operation == "transferFinish")
            during();
        RecordingListener::OnClipboardEvent(operation, stage, dataType, number, message, result, code, detail);
    }
};

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
        [](const ClipfileDescription& file, const FileDataSink& sink) {
            unsigned char oneByte = 'x';
            sink(file, &oneByte, 1);
            return std::string();
        },
        nullptr);
    EXPECT_TRUE(start());
    EXPECT_EQ(mRequest->GetRequestFileState(), State::kTransfering);
}

TEST_F(FileRequestTest, DeliveriesEndFilesAndTheList)
{
    start();
    mGuest.deliver(0, "01234");
    EXPECT_EQ(mRequest->GetRequestFileState(), State::kTransfering);
    mGuest.deliver(0, "56789");
    mGuest.deliver(1, std::string(20, 'b'));
    EXPECT_EQ(mRequest->GetRequestFileState(), State::kRequestFinished);
    mGuest.deliver(2, "");
    EXPECT_EQ(
        mGuest.eventsOf("transferFinish"),
        (std::vector<std::string>{"readySize/fileSize:10/10", "readySize/fileSize:20/20", "readySize/fileSize:0/0"}));
    // The empty file comes after the last byte, so the end is reported again.
    EXPECT_EQ(mGuest.eventsOf("endClipboardFile"),
              (std::vector<std::string>{"all file transfer complete", "all file transfer complete"}));
    EXPECT_EQ(mGuest.listener->events().back().number, 30);
    EXPECT_EQ(mRequest->GetTransferFile(mGuest.files[0])->mSliceCount, 1);
    EXPECT_EQ(sliceContents().size(), 3u);
    EXPECT_EQ(RecordingLog::count(5, "Download file0 finish."), 1);
    EXPECT_EQ(RecordingLog::count(5, "all file download finish."), 2);
    EXPECT_EQ(RecordingLog::count(5, "Download: file0:0(5, 5, 10) all:(5,30)"), 1);
    EXPECT_FALSE(start());  // a new paste makes no request
}

TEST_F(FileRequestTest, MoreThanAFilesSizeNeverFinishes)
{
    start();
    mGuest.deliver(0, "0123456789x");
    EXPECT_TRUE(mGuest.eventsOf("transferFinish").empty());
    EXPECT_EQ(mRequest->GetRequestFileState(), State::kTransfering);
}

TEST_F(FileRequestTest, ASliceThatCantBeOpenedStopsNothing)
{
    ClipboardImpl::instance()->InitFileLazyRenderer("C:\\no-such-folder\\deeper\\");
    start();
    mGuest.deliver(0, "0123456789");
    EXPECT_EQ(mGuest.eventsOf("transferFinish").size(), 1u);
    EXPECT_TRUE(RecordingLog::hasLine(5, "File(C:\\no-such-folder\\deeper\\"));
    EXPECT_NE(RecordingLog::firstLine(5, "File(").message.find("(file0) is open:0"), std::string::npos);
}

TEST_F(FileRequestTest, SilenceOfTheReaderCancelsAtTheNextDelivery)
{
    start();
    addStream();
    mGuest.deliver(0, "0");
    fallSilent(2);
    mGuest.deliver(0, "1");
    EXPECT_TRUE(mGuest.cancelled.empty());
    fallSilent(3);
    mGuest.deliver(0, "2");
    EXPECT_EQ(RecordingLog::count(5, "User canceled copy action"), 1);
    EXPECT_EQ(mGuest.eventsOf("cancelTransfer"), std::vector<std::string>{"user cancel file transfer"});
    EXPECT_EQ(mGuest.cancelled, std::vector<std::string>{"file1"});  // what the stream is on
    EXPECT_EQ(RecordingLog::count(5, "Cancel remote file request"), 1);
    EXPECT_EQ(mRequest->GetRequestFileState(), State::kRequestFailed);
    EXPECT_EQ(mRequest->GetClipboardData(), nullptr);

    mGuest.deliver(0, "3");
    EXPECT_EQ(RecordingLog::count(6, "mClipData is nullptr. maybe use canceled."), 1);
    EXPECT_EQ(mGuest.cancelled.size(), 1u);
    EXPECT_EQ(mRequest->GetTransferFile(mGuest.files[0])->mReadySize, 2);
}

TEST_F(FileRequestTest, WithoutAStreamSilenceIsAnotherPastes)
{
    start();
    fallSilent(100);
    mGuest.deliver(0, "0");
    EXPECT_TRUE(mGuest.cancelled.empty());
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

TEST_F(FileRequestTest, ACancelAfterTheEndDoesNothing)
{
    start();
    mGuest.deliver(0, std::string(10, 'a'));
    mGuest.deliver(1, std::string(20, 'b'));
    mRequest->CancelRemoteTransfer();
    EXPECT_TRUE(mGuest.cancelled.empty());
    EXPECT_NE(mRequest->GetClipboardData(), nullptr);
}

TEST_F(FileRequestTest, NoLockIsHeldWhileTheHostsCancelFunctionRuns)
{
    // Another thread delivers while the cancel function runs and waits for it; under a lock neither would go on.
    mGuest.record->SetFileFuncs(
        [this](const ClipfileDescription&, FileDataSink sink) {
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
    EXPECT_EQ(RecordingLog::count(5, "clear OLE Clipboard\n"), 0);  // the clipboard is somebody else's by now
    mRequest->Cut();
    EXPECT_EQ(mGuest.cancelled.size(), 1u);
}

TEST_F(FileRequestTest, CutWaitsForADeliveryThatIsBeingTaken)
{
    std::promise<void> inside;
    std::promise<void> go;
    const auto holding = std::make_shared<HoldingListener>();
    holding->during = [&] {
        inside.set_value();
        go.get_future().wait();
    };
    ClipboardImpl::instance()->SetListener(holding);
    start();
    auto delivery = std::async(std::launch::async, [this] { mGuest.deliver(0, std::string(10, 'a')); });
    inside.get_future().wait();
    auto cut = std::async(std::launch::async, [this] { mRequest->Cut(); });
    EXPECT_EQ(cut.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
    go.set_value();
    EXPECT_EQ(cut.wait_for(std::chrono::seconds(5)), std::future_status::ready);
    delivery.wait();
}

TEST_F(FileRequestTest, AskingForALaterFileDoesNotWaitForADelivery)
{
    std::promise<void> inside;
    std::promise<void> go;
    const auto holding = std::make_shared<HoldingListener>();
    holding->during = [&] {
        inside.set_value();
        go.get_future().wait();
    };
    start();
    ClipboardImpl::instance()->SetListener(holding);
    auto delivery = std::async(std::launch::async, [this] { mGuest.deliver(0, std::string(10, 'a')); });
    inside.get_future().wait();
    auto asked = std::async(std::launch::async, [this] { return start(); });
    const bool answered = asked.wait_for(std::chrono::seconds(5)) == std::future_status::ready;
    go.set_value();
    EXPECT_TRUE(answered);
    EXPECT_FALSE(asked.get());
    delivery.wait();
}

TEST_F(FileRequestTest, TheSinkMayOutliveEverythingElse)
{
    FileDataSink kept;
    {
        const auto request = std::make_shared<FileRequest>();
        request->SetClipboardData(mGuest.record);
        kept = request->MakeSink();
        request->Cut();
    }
    unsigned char oneByte = 0;
    kept(mGuest.files[0], &oneByte, 1);
    EXPECT_EQ(RecordingLog::count(6, "mClipData is nullptr. maybe use canceled."), 1);
}

TEST_F(FileRequestTest, AFailureReportWithoutAStreamDoesItsOtherSteps)
{
    mRequest->NotifyFileTransferFailed();
    EXPECT_EQ(RecordingLog::count(5, "Cancel file stream wait."), 1);
}

TEST_F(FileRequestTest, ASliceEndsWithTheDeliveryThatReachesAMebibyte)
{
    GuestList guest({1048577, 5000000, 1048576});
    const auto request = std::make_shared<FileRequest>();
    request->SetClipboardData(guest.record);
    bool rejected = false;
    request->startRequestFileData(guest.files[0], rejected);
    guest.deliver(0, std::string(1048576, 'a'));
    EXPECT_EQ(request->GetTransferFile(guest.files[0])->mSliceCount, 1);
    guest.deliver(0, "b");
    EXPECT_EQ(request->GetTransferFile(guest.files[0])->mSliceCount, 2);
    guest.deliver(1, std::string(5000000, 'c'));
    EXPECT_EQ(request->GetTransferFile(guest.files[1])->mSliceCount, 1);
    guest.deliver(2, std::string(1048576, 'd'));
    EXPECT_EQ(request->GetTransferFile(guest.files[2])->mSliceCount, 1);
    EXPECT_EQ(request->GetRequestFileState(), State::kRequestFinished);
    request->Cut();
}

TEST_F(FileRequestTest, TwoFilesWithTheSameJoinedNameShareARecord)
{
    ClipfileDescription one = GuestList::makeFile("bc", 5);
    one.relativePath = "a";
    ClipfileDescription other = GuestList::makeFile("c", 5);
    other.relativePath = "ab";
    start();
    unsigned char oneByte = 'x';
    mGuest.sink(one, &oneByte, 1);
    mGuest.sink(other, &oneByte, 1);
    EXPECT_EQ(mRequest->GetTransferFile(one), mRequest->GetTransferFile(other));
    EXPECT_EQ(mRequest->GetTransferFile(one)->mReadySize, 2);
}
