// What a listener throws in the events of a guest's list and of its paste: whom it reaches, and what happens all the
// same. The event of a wait in vain is in download_timeout_test.cpp.
#include <algorithm>
#include <chrono>
#include <stdexcept>

#include "base/unix_clock.h"
#include "clipboard_writing_fixture.h"
#include "data_object/data_lock.h"
#include "data_object/file_request.h"
#include "file_stream/file_stream.h"

using namespace sd::clip;
using Microsoft::WRL::ComPtr;

namespace {

using Names = std::vector<std::string>;
using State = RequestFileState;

struct HostError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

class ThrowingListener : public ClipboardWriting {
protected:
    // From now on each event of these operations throws its operation.
    void throwIn(const Names& operations)
    {
        mGuest.listener->clear();
        RecordingLog::clear();
        mGuest.listener->duringEvent = [operations](const RecordedEvent& event) {
            if (std::count(operations.begin(), operations.end(), event.operation) != 0)
                throw HostError(event.operation);
        };
    }

    void pasteTheList()
    {
        ASSERT_TRUE(set());
        ASSERT_EQ(pasteDirectly(&mStream), S_OK);
        mRequest = TestAccess::notedObject(*mEngine)->GetRequest();
    }

    // @return what reached the thread that delivers
    std::string deliverAndCatch(std::size_t index, const std::string& bytes)
    {
        std::string caught;
        try {
            mGuest.deliver(index, bytes);
        } catch (const HostError& error) {
            caught = error.what();
        }
        EXPECT_FALSE(DataLockScope::isHeldByThisThread());
        return caught;
    }

    void expectNextListWorks()
    {
        mGuest.listener->duringEvent = nullptr;
        mGuest.record->SetTransferredSize(0);
        mGuest.requested.clear();
        ASSERT_TRUE(set());
        expectPasteWorks();
    }

    void expectPasteWorks()
    {
        mGuest.listener->duringEvent = nullptr;
        ComPtr<IStream> stream;
        ASSERT_EQ(pasteDirectly(&stream), S_OK);
        EXPECT_EQ(mGuest.requested, Names{"file0"});
        mGuest.deliver(0, "0123456789");
        EXPECT_EQ(readToEnd(*stream.Get()), "0123456789");
    }

    // A paste whose event throws, and one after it.
    void expectPasteFails(const std::string& event)
    {
        ASSERT_TRUE(set());
        throwIn({event});
        EXPECT_EQ(pasteDirectly(&mStream), E_FAIL);
        EXPECT_EQ(mStream, nullptr);
        EXPECT_EQ(mGuest.eventsOf(event).size(), 1u);
        EXPECT_TRUE(mGuest.requested.empty());
        const auto request = TestAccess::notedObject(*mEngine)->GetRequest();
        EXPECT_EQ(request->GetRequestFileState(), State::kRequestIdle);
        EXPECT_FALSE(request->IsUnderWay());
        EXPECT_TRUE(isListOnClipboard());
        expectPasteWorks();
    }

    ComPtr<IStream> mStream;
    std::shared_ptr<FileRequest> mRequest;
};

// The work thread takes no list.
class NoInstallation {
public:
    explicit NoInstallation(ClipboardImpl& engine) : mEngine(engine)
    {
        TestAccess::setLongestInstall(mEngine, std::chrono::seconds(0));
    }
    ~NoInstallation()
    {
        TestAccess::setLongestInstall(mEngine, std::chrono::seconds(3600));
    }
    NoInstallation(const NoInstallation&) = delete;
    NoInstallation& operator=(const NoInstallation&) = delete;

private:
    ClipboardImpl& mEngine;
    const ImportHook<decltype(&PostThreadMessageW)> mHook{nullptr, "PostThreadMessageW",
                                                          +[](DWORD, UINT, WPARAM, LPARAM) -> BOOL { return TRUE; }};
};

}  // namespace

// ---- The caller of SetClipboardData ----

TEST_F(ThrowingListener, TheRefusalForAGuestThatTakesNoFilesReachesTheCaller)
{
    throwIn({"setClipboard"});
    mEngine->SetFileClipboardSupported(false);
    EXPECT_THROW(set(), HostError);
    mEngine->SetFileClipboardSupported(true);
    EXPECT_EQ(lastEvent().message, "received guest file list but guest not support");
    EXPECT_FALSE(isListOnClipboard());
    expectNextListWorks();
}

TEST_F(ThrowingListener, TheRefusalDuringATransferReachesTheCallerAndTheTransferGoesOn)
{
    ASSERT_NO_FATAL_FAILURE(pasteTheList());
    throwIn({"setClipboard"});
    EXPECT_THROW(set(), HostError);
    EXPECT_EQ(lastEvent().message, "received guest file list when some file is transferring, ignore");
    mGuest.deliver(0, "0123456789");
    EXPECT_EQ(readToEnd(*mStream.Get()), "0123456789");
    EXPECT_TRUE(mGuest.cancelled.empty());
    EXPECT_TRUE(isListOnClipboard());
}

TEST_F(ThrowingListener, TheReportOfAFailedInstallationReachesTheCallerAndTheJobIsWithdrawn)
{
    ASSERT_TRUE(set());  // starts the thread
    throwIn({"setClipboard"});
    {
        const NoInstallation stage(*mEngine);
        EXPECT_THROW(set(), HostError);
    }
    EXPECT_EQ(lastEvent().stage, "setFail");
    EXPECT_EQ(TestAccess::notedObject(*mEngine), nullptr);  // the job has taken its object along
    expectNextListWorks();
}

TEST_F(ThrowingListener, WithoutAListenerAFailedInstallationIsWithdrawnAllTheSame)
{
    ASSERT_TRUE(set());
    mEngine->SetListener(nullptr);
    RecordingLog::clear();
    {
        const NoInstallation stage(*mEngine);
        EXPECT_FALSE(set());
    }
    EXPECT_EQ(TestAccess::notedObject(*mEngine), nullptr);
    EXPECT_FALSE(isListOnClipboard());
    EXPECT_FALSE(RecordingLog::hasLine(6, ""));
    expectNextListWorks();
    EXPECT_EQ(RecordingLog::count(5, "OLE Clipboard Set Done\n"), 1);
}

TEST_F(ThrowingListener, TheReportOfAListThatStandsReachesTheCallerAndTheListStands)
{
    throwIn({"setClipboard"});
    EXPECT_THROW(set(), HostError);
    EXPECT_EQ(lastEvent().stage, "setComplete");
    EXPECT_TRUE(isListOnClipboard());
    expectPasteWorks();
}

// ---- The pasting application ----

TEST_F(ThrowingListener, TheBeginningOfAPasteFailsItAndALaterOneWorks)
{
    expectPasteFails("clientPaste");
}

TEST_F(ThrowingListener, TheStartOfARequestFailsThePasteAndALaterOneWorks)
{
    expectPasteFails("triggerClipboardFilePaste");
}

// ---- The delivering host ----

TEST_F(ThrowingListener, TheUsersCancelReachesTheDeliveringHostAndTheTransferIsCancelled)
{
    ASSERT_NO_FATAL_FAILURE(pasteTheList());
    throwIn({"cancelTransfer"});
    gReadState = ReadState::kBetweenReads;
    gLastReadTime = unixNow() - 3;
    EXPECT_EQ(deliverAndCatch(0, "0"), "cancelTransfer");
    EXPECT_EQ(mGuest.cancelled, Names{"file0"});
    EXPECT_EQ(RecordingLog::count(5, "Cancel remote file request"), 1);
    EXPECT_EQ(mRequest->GetRequestFileState(), State::kRequestFailed);
    EXPECT_FALSE(isListOnClipboard());
    EXPECT_EQ(deliverAndCatch(0, "1"), "");
    EXPECT_EQ(RecordingLog::count(6, "mClipData is nullptr. maybe use canceled."), 1);
    expectNextListWorks();
}

TEST_F(ThrowingListener, TheEndOfAFileReachesTheDeliveringHostAndTheFileIsThere)
{
    ASSERT_NO_FATAL_FAILURE(pasteTheList());
    throwIn({"transferFinish"});
    EXPECT_EQ(deliverAndCatch(0, "0123456789"), "transferFinish");
    EXPECT_EQ(RecordingLog::count(5, "Download file0 finish."), 1);
    EXPECT_EQ(mRequest->GetRequestFileState(), State::kTransfering);
    EXPECT_TRUE(mGuest.eventsOf("endClipboardFile").empty());
    EXPECT_EQ(readToEnd(*mStream.Get()), "0123456789");
}

TEST_F(ThrowingListener, TheEndOfTheLastFileReachesTheDeliveringHostAndTheListHasEnded)
{
    ASSERT_NO_FATAL_FAILURE(pasteTheList());
    mGuest.deliver(0, "0123456789");
    throwIn({"transferFinish"});
    EXPECT_EQ(deliverAndCatch(1, std::string(20, 'b')), "transferFinish");
    EXPECT_EQ(mRequest->GetRequestFileState(), State::kRequestFinished);
    EXPECT_EQ(mGuest.eventsOf("endClipboardFile"), Names{"all file transfer complete"});
    EXPECT_EQ(RecordingLog::count(5, "Download file1 finish."), 1);
    EXPECT_EQ(RecordingLog::count(5, "all file download finish."), 1);
    ASSERT_EQ(pasteDirectly(&mStream, 1), S_OK);
    EXPECT_EQ(readToEnd(*mStream.Get()), std::string(20, 'b'));
    EXPECT_TRUE(mGuest.cancelled.empty());
    expectNextListWorks();
}

TEST_F(ThrowingListener, TheEndOfTheListReachesTheDeliveringHost)
{
    ASSERT_NO_FATAL_FAILURE(pasteTheList());
    mGuest.deliver(0, "0123456789");
    throwIn({"endClipboardFile"});
    EXPECT_EQ(deliverAndCatch(1, std::string(20, 'b')), "endClipboardFile");
    EXPECT_EQ(mRequest->GetRequestFileState(), State::kRequestFinished);
    EXPECT_EQ(RecordingLog::count(5, "all file download finish."), 1);
    expectNextListWorks();
}

TEST_F(ThrowingListener, OfTwoExceptionsTheFirstReachesTheDeliveringHost)
{
    ASSERT_NO_FATAL_FAILURE(pasteTheList());
    mGuest.deliver(0, "0123456789");
    throwIn({"transferFinish", "endClipboardFile"});
    EXPECT_EQ(deliverAndCatch(1, std::string(20, 'b')), "transferFinish");
    EXPECT_EQ(mGuest.eventsOf("endClipboardFile").size(), 1u);
    EXPECT_EQ(mRequest->GetRequestFileState(), State::kRequestFinished);
}
