// The sink of a request: slices and sums, the reader's silence, and deliveries beside everything else.
#include <algorithm>
#include <chrono>
#include <filesystem>
#include <future>
#include <map>

#include "data_object/data_lock.h"
#include "data_object/slice_path.h"
#include "file_request_fixture.h"
#include "heartbeat_clock.h"

using namespace sd::clip;
namespace fs = std::filesystem;

namespace {

using State = RequestFileState;

class TransferDataSink : public FileRequestTest {
protected:
    using FileRequestTest::FileRequestTest;

    std::string slicePath(std::size_t index, int slice) const
    {
        return MakeSlicePath(ClipboardImpl::GetCacheDirectory(), MakeFileKey(mGuest.files[index]), slice);
    }

    // Bytes on disk, slice by slice.
    std::vector<std::uintmax_t> sliceSizes(std::size_t index) const
    {
        std::vector<std::uintmax_t> sizes;
        for (int slice = 0; fs::exists(slicePath(index, slice)); ++slice)
            sizes.push_back(fs::file_size(slicePath(index, slice)));
        return sizes;
    }

    std::ptrdiff_t countFilesOnDisk() const
    {
        return std::distance(fs::directory_iterator(mGuest.folder.path() + L"\\cache"), fs::directory_iterator());
    }

    // Another thread cancels while this delivery is between its look at the record and its change of the state.
    void deliverWhileAnotherThreadCancels(std::size_t index)
    {
        HeartbeatClock::duringNextLook(
            [this] { std::async(std::launch::async, [this] { mRequest->CancelRemoteTransfer(); }).get(); });
        mGuest.deliver(index, std::string(mGuest.files[index].size, 'a'));
    }
};

class TransferDataSinkOfLargeFiles : public TransferDataSink {
protected:
    TransferDataSinkOfLargeFiles() : TransferDataSink({1048577, 5000000, 1048576}) {}
};

class TransferDataSinkOfTwins : public TransferDataSink {
protected:
    TransferDataSinkOfTwins() : TransferDataSink({10, 10, 5}) {}
};

}  // namespace

TEST_F(TransferDataSink, DeliveriesEndFilesAndTheList)
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
    EXPECT_EQ(record(0)->SliceCount(), 1);
    EXPECT_EQ(countFilesOnDisk(), 3);
    EXPECT_EQ(sliceSizes(2), std::vector<std::uintmax_t>{0});
    EXPECT_EQ(RecordingLog::count(5, "Download file0 finish."), 1);
    EXPECT_EQ(RecordingLog::count(5, "all file download finish."), 2);
    EXPECT_EQ(RecordingLog::count(5, "Download: file0:0(5, 5, 10) all:(5,30)"), 1);
    EXPECT_FALSE(start());  // a new paste makes no request
}

TEST_F(TransferDataSink, MoreThanAFilesSizeNeverFinishes)
{
    start();
    mGuest.deliver(0, "0123456789x");
    EXPECT_TRUE(mGuest.eventsOf("transferFinish").empty());
    EXPECT_EQ(mRequest->GetRequestFileState(), State::kTransfering);
}

// A host's mistake, which is the only way out of the finished state.
TEST_F(TransferDataSink, AStrayDeliveryAfterTheEndCountsAsATransferAgain)
{
    start();
    deliverAll();
    EXPECT_EQ(mRequest->GetRequestFileState(), State::kRequestFinished);
    mGuest.deliver(0, "x");
    EXPECT_EQ(mRequest->GetRequestFileState(), State::kTransfering);
}

TEST_F(TransferDataSink, ASliceThatCantBeOpenedStopsNothing)
{
    ClipboardImpl::instance()->InitFileLazyRenderer("C:\\no-such-folder\\deeper\\");
    start();
    mGuest.deliver(0, "0123456789");
    EXPECT_EQ(mGuest.eventsOf("transferFinish").size(), 1u);
    EXPECT_TRUE(RecordingLog::hasLine(5, "File(C:\\no-such-folder\\deeper\\"));
    EXPECT_NE(RecordingLog::firstLine(5, "File(").message.find("(file0) is open:0"), std::string::npos);
}

TEST_F(TransferDataSink, ASliceIsFinishedWhereItWasOpenedThoughTheCacheDirectoryChanges)
{
    start();
    mGuest.deliver(0, "01234");
    const std::string path = slicePath(0, 0);
    ClipboardImpl::instance()->InitFileLazyRenderer("C:\\another-cache\\");
    mGuest.deliver(0, "56789");
    EXPECT_EQ(TestAccess::slices(*record(0)), std::vector<std::string>{path});
}

TEST_F(TransferDataSinkOfLargeFiles, ASliceOnDiskEndsWithTheDeliveryThatReachesAMebibyte)
{
    start();
    mGuest.deliver(0, std::string(1048576, 'a'));
    EXPECT_EQ(record(0)->SliceCount(), 1);
    EXPECT_EQ(sliceSizes(0), (std::vector<std::uintmax_t>{1048576}));
    mGuest.deliver(0, "b");
    EXPECT_EQ(record(0)->SliceCount(), 2);
    EXPECT_EQ(sliceSizes(0), (std::vector<std::uintmax_t>{1048576, 1}));
    mGuest.deliver(1, std::string(5000000, 'c'));
    EXPECT_EQ(record(1)->SliceCount(), 1);
    EXPECT_EQ(sliceSizes(1), (std::vector<std::uintmax_t>{5000000}));
    mGuest.deliver(2, std::string(1048576, 'd'));
    EXPECT_EQ(record(2)->SliceCount(), 1);
    EXPECT_EQ(sliceSizes(2), (std::vector<std::uintmax_t>{1048576}));
    EXPECT_EQ(countFilesOnDisk(), 4);
    EXPECT_EQ(mRequest->GetRequestFileState(), State::kRequestFinished);
}

TEST_F(TransferDataSink, ASlicesBeginningAndEndAreLoggedWithItsPath)
{
    start();
    mGuest.deliver(0, "01234");
    mGuest.deliver(0, "56789");
    const std::string path = slicePath(0, 0);
    EXPECT_EQ(RecordingLog::count(5, "File(" + path + ") (file0) is open:1"), 1);
    EXPECT_EQ(RecordingLog::count(5, "Download slice:" + path +
                                         " finish, filesize=10. close this slice. notifySliceReady. transferFile:" +
                                         printAddress(record(0))),
              1);
}

TEST_F(TransferDataSink, TwoFilesWithTheSameJoinedNameShareARecord)
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
    EXPECT_EQ(mRequest->GetTransferFile(one)->ReadySize(), 2);
}

TEST_F(TransferDataSinkOfTwins, NeverFinishForTheyShareARecord)
{
    start();
    mGuest.files[1].fileName = mGuest.files[0].fileName;
    mGuest.deliver(0, "0123456789");
    mGuest.deliver(1, "0123456789");
    EXPECT_EQ(mGuest.eventsOf("transferFinish"), std::vector<std::string>{"readySize/fileSize:10/10"});
    EXPECT_TRUE(mGuest.eventsOf("endClipboardFile").empty());
    EXPECT_EQ(mRequest->GetRequestFileState(), State::kTransfering);
    EXPECT_EQ(record(0)->ReadySize(), 20);
}

// The sum counts what a list says of its folders, and nobody delivers a folder.
TEST_F(TransferDataSink, AFolderWithASizeKeepsTheListFromItsEnd)
{
    constexpr std::uint16_t kModeFolder = 0x4000;
    mGuest.files[1].mode = mGuest.record->GetFiles()[1].mode = kModeFolder;
    start();
    mGuest.deliver(0, "0123456789");
    mGuest.deliver(2, "");
    EXPECT_EQ(mGuest.eventsOf("transferFinish").size(), 2u);
    EXPECT_TRUE(mGuest.eventsOf("endClipboardFile").empty());
    EXPECT_EQ(mRequest->GetRequestFileState(), State::kTransfering);
}

TEST_F(TransferDataSink, SilenceOfTheReaderCancelsAtTheNextDelivery)
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
    EXPECT_EQ(record(0)->ReadySize(), 2);
}

TEST_F(TransferDataSink, WithoutAStreamSilenceIsAnotherPastes)
{
    start();
    fallSilent(100);
    mGuest.deliver(0, "0");
    EXPECT_TRUE(mGuest.cancelled.empty());
    EXPECT_EQ(mRequest->GetRequestFileState(), State::kTransfering);
}

TEST_F(TransferDataSink, AStrayDeliveryAfterTheEndOfASilentReaderCancelsNothing)
{
    start();
    addStream();
    deliverAll();
    fallSilent(3);
    RecordingLog::clear();
    mGuest.deliver(0, "x");
    EXPECT_EQ(RecordingLog::messages(), (std::vector<std::string>{"User canceled copy action", "RequestFileState:4"}));
    EXPECT_EQ(mGuest.eventsOf("cancelTransfer").size(), 1u);
    EXPECT_TRUE(mGuest.cancelled.empty());
    EXPECT_NE(mRequest->GetClipboardData(), nullptr);
    EXPECT_EQ(mRequest->GetRequestFileState(), State::kRequestFinished);
    EXPECT_EQ(record(0)->ReadySize(), 10);
    fallSilent(0);
    mGuest.deliver(0, "x");  // the reader is back: taken as any other
    EXPECT_EQ(record(0)->ReadySize(), 11);
}

TEST_F(TransferDataSink, ADeliveryThatACancelOvertakesDoesNotReviveTheRequest)
{
    const HeartbeatClock clock;
    start();
    addStream();
    deliverWhileAnotherThreadCancels(0);
    EXPECT_EQ(mGuest.cancelled.size(), 1u);
    EXPECT_EQ(mRequest->GetRequestFileState(), State::kRequestFailed);
    EXPECT_FALSE(mRequest->IsDataTransfering());
}

TEST_F(TransferDataSink, TheLastDeliveryDoesNotFinishARequestThatACancelOvertook)
{
    const HeartbeatClock clock;
    start();
    addStream();
    mGuest.deliver(2, "");
    mGuest.deliver(1, std::string(20, 'b'));
    deliverWhileAnotherThreadCancels(0);
    EXPECT_EQ(record(0)->ReadySize(), 10);
    EXPECT_EQ(mGuest.cancelled.size(), 1u);
    EXPECT_EQ(mRequest->GetRequestFileState(), State::kRequestFailed);
    EXPECT_FALSE(mRequest->IsDataTransfering());
}

TEST_F(TransferDataSink, CutWaitsForADeliveryThatIsBeingTaken)
{
    start();
    HeldDelivery held(mGuest, 0);
    auto cut = std::async(std::launch::async, [this] { mRequest->Cut(); });
    EXPECT_EQ(cut.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
    held.letGo();
    EXPECT_EQ(cut.wait_for(std::chrono::seconds(30)), std::future_status::ready);
}

TEST_F(TransferDataSink, AskingForALaterFileDoesNotWaitForADelivery)
{
    start();
    HeldDelivery held(mGuest, 0);
    auto asked = std::async(std::launch::async, [this] { return start(); });
    EXPECT_EQ(asked.wait_for(std::chrono::seconds(30)), std::future_status::ready);
    held.letGo();
    EXPECT_FALSE(asked.get());
}

TEST_F(TransferDataSink, AReaderAndTheGatesDoNotWaitForADelivery)
{
    start();
    HeldDelivery held(mGuest, 0);
    auto asked = std::async(std::launch::async, [this] { return mRequest->IsDataTransfering() ? record(0) : nullptr; });
    EXPECT_EQ(asked.wait_for(std::chrono::seconds(30)), std::future_status::ready);
    held.letGo();
    EXPECT_NE(asked.get(), nullptr);
}

TEST_F(TransferDataSink, ItsEventsAreRaisedUnderTheDataLockAndNotUnderThatOfASlice)
{
    std::map<std::string, int> underLock;
    mGuest.listener->duringEvent = [&](const RecordedEvent& event) {
        constexpr int kWrong = 100;
        underLock[event.operation] += DataLockScope::isHeldByThisThread() && isDataLockTaken() ? 1 : kWrong;
        for (std::size_t i = 0; i < mGuest.files.size(); ++i)
            EXPECT_FALSE(record(i) != nullptr && isTaken(TestAccess::sliceMutex(*record(i)))) << event.operation;
    };
    start();
    underLock.clear();
    addStream();
    deliverAll();
    fallSilent(3);
    mGuest.deliver(0, "x");
    mGuest.listener->duringEvent = nullptr;
    EXPECT_EQ(underLock,
              (std::map<std::string, int>{{"cancelTransfer", 1}, {"endClipboardFile", 2}, {"transferFinish", 3}}));
}

TEST_F(TransferDataSink, TheSinkMayOutliveEverythingElse)
{
    FileDataRequestCallback kept;
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
