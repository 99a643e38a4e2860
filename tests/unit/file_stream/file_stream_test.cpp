// The stream as an object: its bases, its life, pointing it at files, cancelling it.
#include "file_stream/file_stream.h"

#include <gtest/gtest.h>

#include <thread>

#include "base/unix_clock.h"
#include "file_stream/read_heartbeat.h"
#include "sample_stream.h"
#include "support/journal.h"
#include "support/recording_log.h"

using namespace sd::clip;

namespace {

using Messages = std::vector<std::string>;

const FileRequestFunc kData = [](const ClipfileDescription& /*file*/, const FileDataRequestCallback& /*sink*/) {
    return std::string();
};
const FileCancelFunc kCancel = [](const ClipfileDescription& /*file*/) {};

StreamPointer makeFunctionStream(std::shared_ptr<DetailFileDescription> description, std::int32_t mode)
{
    return holdStream(new FileStream(std::move(description), kData, kCancel, mode));
}

std::string addressIn(const std::string& message)
{
    const auto begin = message.find(':') + 1;
    return message.substr(begin, message.find(' ') - begin);
}

class FileStreamObject : public testing::Test {
protected:
    std::shared_ptr<FakeTransfer> transfer = std::make_shared<FakeTransfer>();
    std::shared_ptr<DetailFileDescription> description = makeDescription("a.bin", 5000000000);
    StreamPointer stream = makeStream(description, transfer);
};

}  // namespace

// ---- Construction ----

TEST_F(FileStreamObject, TheFirstConstructorKeepsBothFunctions)
{
    const StreamPointer made = makeFunctionStream(description, kFileModeTransfer);
    EXPECT_TRUE(TestAccess::dataFunc(*made.Get()));
    EXPECT_TRUE(TestAccess::cancelFunc(*made.Get()));
    EXPECT_EQ(TestAccess::fileName(*made.Get()), "folder\\a.bin");
    EXPECT_EQ(TestAccess::fileSize(*made.Get()), 5000000000u);
    EXPECT_EQ(made->GetFileDescription(), description);
    EXPECT_EQ(TestAccess::transfer(*made.Get()), nullptr);
}

TEST_F(FileStreamObject, TheFirstConstructorLogsTheFile)
{
    RecordingLog::clear();
    const StreamPointer made = makeFunctionStream(description, kFileModeTransfer);
    const Messages messages = RecordingLog::messages();
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0], "mFileCancelFunc:" + addressIn(messages[0]) + " setFile:a.bin");
    EXPECT_TRUE(RecordingLog::hasLine(5, messages[0]));
}

TEST_F(FileStreamObject, TheFirstConstructorLeavesTheHeartbeatAlone)
{
    gLastReadTime = 17;
    const StreamPointer made = makeFunctionStream(description, kFileModeTransfer);
    EXPECT_EQ(gLastReadTime, 17);
}

TEST_F(FileStreamObject, TheFirstConstructorOpensTheLocalFileInModeOneOnly)
{
    RecordingLog::clear();
    makeFunctionStream(description, kFileModeTransfer);
    makeFunctionStream(description, 0);
    EXPECT_EQ(messagesOf("open"), Messages{});
    makeFunctionStream(description, kFileModeOpenLocal);
    EXPECT_EQ(messagesOf("open"), Messages{"Enter"});
}

TEST_F(FileStreamObject, TheSecondConstructorKeepsTheTransferAndNoFunction)
{
    EXPECT_EQ(TestAccess::transfer(*stream.Get()), transfer.get());
    EXPECT_FALSE(TestAccess::dataFunc(*stream.Get()));
    EXPECT_FALSE(TestAccess::cancelFunc(*stream.Get()));
    EXPECT_EQ(TestAccess::fileName(*stream.Get()), "folder\\a.bin");
    EXPECT_EQ(TestAccess::fileSize(*stream.Get()), 5000000000u);
    EXPECT_EQ(stream->GetFileDescription(), description);
}

TEST_F(FileStreamObject, TheSecondConstructorRefreshesTheHeartbeat)
{
    gLastReadTime = 17;
    const std::int64_t before = unixNow();
    makeStream(description, transfer);
    EXPECT_GE(gLastReadTime, before);
    EXPECT_LE(gLastReadTime, unixNow());
}

TEST_F(FileStreamObject, TheSecondConstructorLogsTheFileAndDoesNotLookAtTheMode)
{
    RecordingLog::clear();
    const StreamPointer made = holdStream(new FileStream(description, transfer, kFileModeOpenLocal));
    const Messages messages = RecordingLog::messages(5);
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0], "mFileCancelFunc:" + addressIn(messages[0]) + " setFileDescription:a.bin");
}

TEST_F(FileStreamObject, WithoutADescriptionItHasNoNameAndNoSize)
{
    RecordingLog::clear();
    const StreamPointer second = makeStream(nullptr, transfer);
    const StreamPointer first = makeFunctionStream(nullptr, kFileModeTransfer);
    const Messages messages = RecordingLog::messages(5);
    ASSERT_EQ(messages.size(), 2u);
    EXPECT_EQ(messages[0], "mFileCancelFunc:" + addressIn(messages[0]) + " setFileDescription:");
    EXPECT_EQ(messages[1], "mFileCancelFunc:" + addressIn(messages[1]) + " setFile:");
    for (const StreamPointer& made : {first, second}) {
        EXPECT_EQ(TestAccess::fileName(*made.Get()), "");
        EXPECT_EQ(statistics(*made.Get()).cbSize.QuadPart, 0u);
        EXPECT_EQ(made->GetFileDescription(), nullptr);
    }
}

TEST_F(FileStreamObject, AllElseIsClearAtTheStart)
{
    for (const StreamPointer& made : {stream, makeFunctionStream(description, kFileModeTransfer)}) {
        EXPECT_EQ(TestAccess::filePath(*made.Get()), "");
        EXPECT_FALSE(TestAccess::isWaiting(*made.Get()));
        EXPECT_FALSE(TestAccess::seekable(*made.Get()));
        EXPECT_FALSE(TestAccess::cancelled(*made.Get()));
        EXPECT_EQ(TestAccess::waitTime(*made.Get()), 0u);
        EXPECT_EQ(TestAccess::transferFile(*made.Get()), nullptr);
        EXPECT_TRUE(TestAccess::unusedFieldsAreClear(*made.Get()));
    }
}

TEST_F(FileStreamObject, ItsBasesAndMembersKeepTheirOrder)
{
    FileStream* const object = stream.Get();
    EXPECT_EQ(static_cast<void*>(static_cast<IStream*>(object)), object);
    const void* before = static_cast<MediumBase*>(object);
    EXPECT_GT(before, object);
    for (const void* member : TestAccess::members(*object)) {
        EXPECT_LT(before, member);
        before = member;
    }
}

// ---- References ----

TEST_F(FileStreamObject, BeginsWithOneReference)
{
    auto* const made = new FileStream(description, transfer, kFileModeTransfer);
    EXPECT_EQ(made->AddRef(), 2u);
    EXPECT_EQ(made->Release(), 1u);
    EXPECT_EQ(made->Release(), 0u);
}

TEST_F(FileStreamObject, TwoReferencesTakenAndReleasedLeaveTheCountWhereItWas)
{
    const Microsoft::WRL::ComPtr<IStream> interface1 = stream;
    EXPECT_EQ(interface1->AddRef(), 3u);
    EXPECT_EQ(interface1->AddRef(), 4u);
    EXPECT_EQ(interface1->Release(), 3u);
    EXPECT_EQ(interface1->Release(), 2u);
}

TEST_F(FileStreamObject, ReferencesOfTwoThreadsAreAllCounted)
{
    constexpr int kRounds = 20000;
    const auto use = [this] {
        for (int i = 0; i < kRounds; ++i)
            stream->AddRef();
        for (int i = 0; i < kRounds; ++i)
            stream->Release();
    };
    std::thread second(use);
    use();
    second.join();
    EXPECT_EQ(stream->AddRef(), 2u);
    EXPECT_EQ(stream->Release(), 1u);
}

TEST_F(FileStreamObject, TheLastReleaseClosesThenLetsGoOfTheDescriptionAndTheMediumComesLast)
{
    const std::weak_ptr<DetailFileDescription> watched = description;
    bool descriptionWasGone = false;
    TestAccess::destroyFunc(*stream.Get()) = [&] {
        descriptionWasGone = watched.expired();
        Journal::shared().add("destroyed");
        return true;
    };
    description.reset();
    RecordingLog::clear();
    Journal::shared().clear();
    EXPECT_EQ(stream.Detach()->Release(), 0u);
    EXPECT_TRUE(descriptionWasGone);
    EXPECT_EQ(Journal::shared().entries(), (Messages{"log 5 Enter", "destroyed"}));
    EXPECT_EQ(messagesOf("close"), Messages{"Enter"});
}

TEST_F(FileStreamObject, TheStreamReleasedLastLetsGoOfTheTransfer)
{
    const std::weak_ptr<FakeTransfer> watched = transfer;
    transfer.reset();
    EXPECT_FALSE(watched.expired());
    stream.Reset();
    EXPECT_TRUE(watched.expired());
}

// ---- QueryInterface ----

TEST_F(FileStreamObject, AnswersForItsThreeInterfacesWithAReferenceEach)
{
    for (const IID& iid : {IID_IUnknown, IID_ISequentialStream, IID_IStream}) {
        void* object = nullptr;
        ASSERT_EQ(stream->QueryInterface(iid, &object), S_OK);
        EXPECT_EQ(object, static_cast<IStream*>(stream.Get()));
        EXPECT_EQ(static_cast<IUnknown*>(object)->Release(), 1u);
    }
}

TEST_F(FileStreamObject, AnotherInterfaceIsRefusedAndTheOutputCleared)
{
    void* object = this;
    EXPECT_EQ(stream->QueryInterface(IID_IDataObject, &object), E_NOINTERFACE);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(stream->AddRef(), 2u);
    EXPECT_EQ(stream->Release(), 1u);
}

TEST_F(FileStreamObject, ANullOutputIsAnInvalidArgument)
{
    EXPECT_EQ(stream->QueryInterface(IID_IStream, nullptr), E_INVALIDARG);
    EXPECT_EQ(stream->QueryInterface(IID_IDataObject, nullptr), E_INVALIDARG);
}

// ---- SetFile ----

TEST_F(FileStreamObject, SetFilePointsAtTheNextFile)
{
    const auto next = makeDescription("b.bin", 7);
    EXPECT_TRUE(stream->SetFile(next, kData, kCancel, kFileModeTransfer));
    EXPECT_EQ(stream->GetFileDescription(), next);
    EXPECT_EQ(TestAccess::fileName(*stream.Get()), "folder\\b.bin");
    EXPECT_EQ(statistics(*stream.Get()).cbSize.QuadPart, 7u);
    EXPECT_TRUE(TestAccess::dataFunc(*stream.Get()));
    EXPECT_TRUE(TestAccess::cancelFunc(*stream.Get()));
    EXPECT_EQ(TestAccess::transfer(*stream.Get()), transfer.get());
}

TEST_F(FileStreamObject, SetFileLogsItsSteps)
{
    RecordingLog::clear();
    EXPECT_TRUE(stream->SetFile(makeDescription("b.bin", 7), kData, kCancel, kFileModeTransfer));
    const Messages messages = RecordingLog::messages(5);
    ASSERT_EQ(messages.size(), 3u);
    EXPECT_EQ(messages[0], "Enter file:b.bin");
    EXPECT_EQ(messages[1], "mFileCancelFunc:" + addressIn(messages[1]));
    EXPECT_EQ(messages[2], "Enter");
    EXPECT_EQ(messagesOf("close"), Messages{"Enter"});
}

TEST_F(FileStreamObject, SetFileRefreshesTheHeartbeat)
{
    for (const bool withFunctions : {true, false}) {
        gLastReadTime = 17;
        const std::int64_t before = unixNow();
        EXPECT_TRUE(withFunctions ? stream->SetFile(description, kData, kCancel, kFileModeTransfer)
                                  : stream->SetFile(description, transfer, kFileModeTransfer));
        EXPECT_GE(gLastReadTime, before);
    }
}

TEST_F(FileStreamObject, SetFileWithATransferLeavesFunctionsAndTransferAsTheyAre)
{
    const auto next = makeDescription("b.bin", 7);
    const StreamPointer made = makeFunctionStream(description, kFileModeTransfer);
    RecordingLog::clear();
    EXPECT_TRUE(made->SetFile(next, transfer, kFileModeTransfer));
    EXPECT_TRUE(TestAccess::dataFunc(*made.Get()));
    EXPECT_TRUE(TestAccess::cancelFunc(*made.Get()));
    EXPECT_EQ(TestAccess::transfer(*made.Get()), nullptr);
    EXPECT_EQ(made->GetFileDescription(), next);
    EXPECT_EQ(TestAccess::fileName(*made.Get()), "folder\\b.bin");
    const Messages messages = RecordingLog::messages(5);
    ASSERT_EQ(messages.size(), 3u);
    EXPECT_EQ(messages[0], "Enter file:b.bin");
    EXPECT_EQ(messages[1], "mFileCancelFunc:" + addressIn(messages[1]));
}

TEST_F(FileStreamObject, SetFileIsRefusedWhileTheStreamIsWaiting)
{
    TestAccess::isWaiting(*stream.Get()) = true;
    gLastReadTime = 17;
    RecordingLog::clear();
    EXPECT_FALSE(stream->SetFile(makeDescription("b.bin", 7), kData, kCancel, kFileModeTransfer));
    EXPECT_FALSE(stream->SetFile(makeDescription("b.bin", 7), transfer, kFileModeTransfer));
    EXPECT_EQ(RecordingLog::count(6, "File stream is waiting."), 2);
    EXPECT_EQ(gLastReadTime, 17);
    EXPECT_EQ(stream->GetFileDescription(), description);
    EXPECT_FALSE(TestAccess::dataFunc(*stream.Get()));
}

TEST_F(FileStreamObject, SetFileWithoutADescriptionKeepsNameAndSize)
{
    RecordingLog::clear();
    EXPECT_TRUE(stream->SetFile(nullptr, kData, kCancel, kFileModeTransfer));
    EXPECT_TRUE(stream->SetFile(nullptr, transfer, kFileModeOpenLocal));
    EXPECT_EQ(RecordingLog::count(5, "Enter file:"), 2);
    EXPECT_EQ(messagesOf("open"), Messages{"Enter"});
    EXPECT_EQ(stream->GetFileDescription(), nullptr);
    EXPECT_EQ(TestAccess::fileName(*stream.Get()), "folder\\a.bin");
    EXPECT_EQ(statistics(*stream.Get()).cbSize.QuadPart, 5000000000u);
}

TEST_F(FileStreamObject, ModeOneNeedsAPath)
{
    const auto nameless = std::make_shared<DetailFileDescription>();
    ASSERT_EQ(nameless->fileName, "");
    EXPECT_FALSE(stream->SetFile(nameless, kData, kCancel, kFileModeOpenLocal));
    EXPECT_FALSE(stream->SetFile(nameless, transfer, kFileModeOpenLocal));
    EXPECT_EQ(RecordingLog::count(6, "File name is empty!"), 2);
    EXPECT_EQ(messagesOf("open"), Messages{});
    EXPECT_EQ(stream->GetFileDescription(), nameless) << "it is stored all the same";
}

TEST_F(FileStreamObject, ModeTwoNeedsNoPath)
{
    EXPECT_TRUE(stream->SetFile(std::make_shared<DetailFileDescription>(), kData, kCancel, kFileModeTransfer));
    EXPECT_EQ(RecordingLog::messages(6), Messages{});
}

TEST_F(FileStreamObject, SetFileAfterCancelSucceedsAndTheStreamStaysCancelled)
{
    transfer->addSlice(*description, "hello");
    stream->Cancel();
    EXPECT_TRUE(stream->SetFile(description, kData, kCancel, kFileModeTransfer));
    EXPECT_EQ(readStream(*stream.Get(), 5).result, STG_E_REVERTED);
}

// ---- Cancel and data ----

TEST_F(FileStreamObject, CancelLogsAndMarks)
{
    RecordingLog::clear();
    static_cast<MediumBase*>(stream.Get())->Cancel();
    EXPECT_EQ(RecordingLog::messages(), Messages{"Enter"});
    EXPECT_EQ(messagesOf("Cancel"), Messages{"Enter"});
    EXPECT_TRUE(TestAccess::cancelled(*stream.Get()));
}

TEST_F(FileStreamObject, CancelSignalsTheRecordOfTheCurrentFile)
{
    transfer->addSlice(*description, "hello");
    readStream(*stream.Get(), 2);
    TransferFile& record = *TestAccess::transferFile(*stream.Get());
    std::atomic<bool> waits{false};
    bool woken = false;
    std::thread waiter([&] {
        std::unique_lock<std::mutex> lock(TestAccess::sliceMutex(record).native());
        waits = true;
        woken = TestAccess::sliceReady(record).wait_for(lock, std::chrono::seconds(20)) == std::cv_status::no_timeout;
    });
    while (!waits)
        std::this_thread::yield();
    std::unique_lock(TestAccess::sliceMutex(record)).unlock();  // it sleeps now
    stream->Cancel();
    waiter.join();
    EXPECT_TRUE(woken);
}

TEST_F(FileStreamObject, DataPassedToItIsLoggedAndDropped)
{
    const unsigned char data[] = {1, 2, 3};
    RecordingLog::clear();
    stream->onFileTransferData(*description, data, 3);
    stream->onFileTransferData(*description, nullptr, 0);
    EXPECT_EQ(RecordingLog::messages(5), (Messages{"onFileTransferData: len:3", "onFileTransferData: len:0"}));
    EXPECT_EQ(RecordingLog::messages().size(), 2u);
}
