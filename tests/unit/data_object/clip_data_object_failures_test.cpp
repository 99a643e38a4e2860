// The data object on offer where a host's functions throw, the stream is busy or the transfer failed before there was
// one.
#include <new>
#include <stdexcept>

#include "clip_data_object_fixture.h"
#include "file_stream/file_stream.h"

namespace sd::clip {

class TestAccess {
public:
    static bool& isWaiting(FileStream& stream)
    {
        return stream.mIsWaiting;
    }
};

}  // namespace sd::clip

using namespace sd::clip;
using Microsoft::WRL::ComPtr;

namespace {

using State = RequestFileState;
using Messages = std::vector<std::string>;

// What a host's function may throw, and what the application is told then.
struct Thrown {
    const char* name;
    void (*doThrow)();
    HRESULT answer;
};
const Thrown kThrown[] = {
    {"an error", [] { throw std::runtime_error("the host's"); }, E_FAIL},
    {"no memory", [] { throw std::bad_alloc(); }, E_OUTOFMEMORY},
    {"no exception class", [] { throw 7; }, E_FAIL},
};

class ThrowingRecord : public ClipboardFileDataImpl {
public:
    void (*doThrow)() = nullptr;

    ClipboardFormat GetFormat() override
    {
        if (doThrow != nullptr)
            doThrow();
        return ClipboardFormat::File;
    }
};

class ClipDataObjectFailures : public ClipDataObjectTest {
protected:
    void setRequestFunction(std::function<void()> function)
    {
        mGuest.record->SetFileFuncs(
            [this, function = std::move(function)](const ClipfileDescription& file, FileDataRequestCallback sink) {
                mGuest.requested.push_back(file.fileName);
                mGuest.sink = std::move(sink);
                function();
                return std::string();
            },
            nullptr);
    }
};

}  // namespace

// ---- Functions that throw ----

TEST_F(ClipDataObjectFailures, ARequestFunctionThatThrowsFailsThePasteAndALaterPasteAsksAgain)
{
    for (const Thrown& thrown : kThrown) {
        SCOPED_TRACE(thrown.name);
        mGuest.requested.clear();
        setRequestFunction(thrown.doThrow);
        EXPECT_EQ(mOffer.getContents(0), thrown.answer);
        EXPECT_EQ(mOffer.request->GetRequestFileState(), State::kRequestFailed);
        EXPECT_FALSE(mOffer.request->IsDataTransfering());
        EXPECT_FALSE(mOffer.request->IsUnderWay());
        EXPECT_EQ(mOffer.getContents(0), thrown.answer);
        EXPECT_EQ(mGuest.requested, (Messages{"file0", "file0"}));
    }
    setRequestFunction([] {});
    ComPtr<IStream> stream;
    ASSERT_EQ(mOffer.getContents(0, &stream), S_OK);
    mGuest.deliver(0, "0123456789");
    EXPECT_EQ(read(*stream.Get(), 100), "0123456789");
}

TEST_F(ClipDataObjectFailures, AVetoThatThrowsFailsThePasteAndALaterPasteAsksAgain)
{
    for (const Thrown& thrown : kThrown) {
        SCOPED_TRACE(thrown.name);
        mGuest.record->SetOLEClipboardPasteFunc([&thrown]() -> bool {
            thrown.doThrow();
            return true;
        });
        EXPECT_EQ(mOffer.getContents(0), thrown.answer);
        EXPECT_EQ(mOffer.request->GetRequestFileState(), State::kRequestIdle);
        EXPECT_FALSE(mOffer.request->IsUnderWay());
    }
    mGuest.record->SetOLEClipboardPasteFunc(nullptr);
    EXPECT_EQ(mOffer.getContents(0), S_OK);
}

TEST_F(ClipDataObjectFailures, AListenerThatThrowsFailsThePaste)
{
    for (const Thrown& thrown : kThrown) {
        SCOPED_TRACE(thrown.name);
        mGuest.listener->duringEvent = [&thrown](const RecordedEvent&) { thrown.doThrow(); };
        EXPECT_EQ(mOffer.getContents(0), thrown.answer);
        EXPECT_FALSE(mOffer.request->IsUnderWay());
    }
    mGuest.listener->duringEvent = nullptr;
    EXPECT_EQ(mOffer.getContents(0), S_OK);
}

TEST_F(ClipDataObjectFailures, ARecordThatThrowsLeavesNoOperation)
{
    const auto record = std::make_shared<ThrowingRecord>();
    const OfferedRecord offer(record);
    for (const Thrown& thrown : kThrown) {
        SCOPED_TRACE(thrown.name);
        record->doThrow = thrown.doThrow;
        EXPECT_EQ(offer.getData(kDescriptor, -1, TYMED_HGLOBAL), thrown.answer);
        EXPECT_EQ(offer.query(kDescriptor), thrown.answer);
        ComPtr<IEnumFORMATETC> formats;
        EXPECT_EQ(offer.enumerate(formats), thrown.answer);
        EXPECT_EQ(formats, nullptr);
    }
    record->doThrow = nullptr;
    EXPECT_EQ(offer.getData(kDescriptor, -1, TYMED_HGLOBAL), S_OK);
}

// ---- The stream ----

TEST_F(ClipDataObjectFailures, ABusyStreamIsGivenOutAllTheSameAndStaysOnItsFile)
{
    ComPtr<IStream> first;
    ASSERT_EQ(mOffer.getContents(0, &first), S_OK);
    mGuest.deliver(0, "0123456789");
    mGuest.deliver(1, "abc");
    const auto stream = mOffer.request->GetStream();
    TestAccess::isWaiting(*stream.Get()) = true;
    RecordingLog::clear();
    ComPtr<IStream> second;
    ASSERT_EQ(mOffer.getContents(1, &second), S_OK);
    EXPECT_EQ(RecordingLog::messages(6),
              (Messages{"File stream is waiting.", "The last file has not been copied yet."}));
    EXPECT_EQ(second, first);
    EXPECT_EQ(stream->GetFileDescription()->fileName, "file0");
    EXPECT_EQ(read(*second.Get(), 100), "0123456789");
}

// From inside the request function, as a host may learn at once that the guest is gone.
TEST_F(ClipDataObjectFailures, AfterAFailureReportThatCameBeforeItTheStreamIsReverted)
{
    setRequestFunction([this] { mOffer.request->NotifyFileTransferFailed(); });
    ComPtr<IStream> stream;
    ASSERT_EQ(mOffer.getContents(0, &stream), S_OK);
    mGuest.deliver(0, "0123456789");
    EXPECT_EQ(readStream(*stream.Get(), 1).result, STG_E_REVERTED);
    ASSERT_EQ(mOffer.getContents(1, &stream), S_OK);
    EXPECT_EQ(readStream(*stream.Get(), 1).result, STG_E_REVERTED);
}
