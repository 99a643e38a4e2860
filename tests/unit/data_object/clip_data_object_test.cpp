// The data object on offer from its making to its death, and the pastes between.
#include "data_object/clip_data_object.h"

#include <future>

#include "clip_data_object_fixture.h"
#include "heartbeat_clock.h"

using namespace sd::clip;
using Microsoft::WRL::ComPtr;

TEST_F(ClipDataObjectTest, ItsMakingAndItsEndAreLoggedWithItsAddress)
{
    auto* const object = new ClipDataObject;
    const std::string address = printAddress(object);
    EXPECT_EQ(RecordingLog::messages(), std::vector<std::string>{"create " + address});
    EXPECT_EQ(RecordingLog::count(5, "create " + address), 1);
    EXPECT_EQ(object->Release(), 0u);
    EXPECT_EQ(RecordingLog::count(5, "destroy " + address), 1);
}

TEST_F(ClipDataObjectTest, TheDescriptorStartsNoTransfer)
{
    EXPECT_EQ(mOffer.getData(kDescriptor, -1, TYMED_HGLOBAL), S_OK);
    EXPECT_EQ(RecordingLog::messages(), (std::vector<std::string>{"formatFileDesc", "totalFileCount:3."}));
    EXPECT_EQ(RecordingLog::count(6, "totalFileCount:3."), 1);
    EXPECT_TRUE(mGuest.requested.empty());
    EXPECT_TRUE(mGuest.listener->events().empty());
}

TEST_F(ClipDataObjectTest, TheDescriptorWorksDuringATransfer)
{
    mOffer.getContents(0);
    EXPECT_EQ(mOffer.getData(kDescriptor, -1, TYMED_HGLOBAL), S_OK);
}

TEST_F(ClipDataObjectTest, ADescriptorInAnotherMediumIsRefused)
{
    EXPECT_EQ(mOffer.getData(kDescriptor, -1, TYMED_ISTREAM), DV_E_FORMATETC);
    EXPECT_EQ(RecordingLog::messages(), std::vector<std::string>{"formatFileDesc"});
}

TEST_F(ClipDataObjectTest, TheFirstContentsRequestStartsTheTransferAndGivesAStream)
{
    ComPtr<IStream> stream;
    EXPECT_EQ(mOffer.getContents(0, &stream), S_OK);
    EXPECT_NE(stream, nullptr);
    EXPECT_EQ(mGuest.requested, std::vector<std::string>{"file0"});
    ASSERT_EQ(mGuest.listener->events().size(), 2u);
    const RecordedEvent paste = mGuest.listener->events()[0];
    EXPECT_EQ(paste.operation, "clientPaste");
    EXPECT_EQ(paste.stage, "getFileContent");
    EXPECT_EQ(paste.message, "pformatetcIn->cfFormat == mFormatFileContent");
    EXPECT_EQ(paste.number, 3);
}

// Its last words are the address of the cancel function's copy, which nobody else knows.
TEST_F(ClipDataObjectTest, EachContentsRequestLogsItsFileAndTheAddressOfACancelFunction)
{
    for (const LONG index : {0L, 2L}) {
        RecordingLog::clear();
        ASSERT_EQ(mOffer.getContents(index), S_OK);
        const std::string beginning = "Create filestream(file" + std::to_string(index) +
                                      ") to copy to destination. fileData->GetFileCancelFunc():";
        const std::string message = RecordingLog::firstLine(5, beginning).message;
        ASSERT_GT(message.size(), beginning.size()) << message;
        const auto address = std::stoull(message.substr(beginning.size()), nullptr, 16);
        EXPECT_NE(address, 0u);
        EXPECT_EQ(message, beginning + printAddress(reinterpret_cast<const void*>(address)));
    }
}

TEST_F(ClipDataObjectTest, AFirstRequestForALaterFileNamesThatFile)
{
    EXPECT_EQ(mOffer.getContents(2), S_OK);
    EXPECT_EQ(mGuest.requested, std::vector<std::string>{"file2"});
}

TEST_F(ClipDataObjectTest, IndexesBeyondTheListAreRefusedAfterTheEvent)
{
    for (const LONG index : {-1L, 3L, 2147483647L}) {
        RecordingLog::clear();
        mGuest.listener->clear();
        EXPECT_EQ(mOffer.getContents(index), DV_E_FORMATETC);
        EXPECT_EQ(RecordingLog::messages(6), std::vector<std::string>{"file list invalid"});
        EXPECT_EQ(mGuest.eventsOf("clientPaste").size(), 1u);
    }
    EXPECT_TRUE(mGuest.requested.empty());
}

TEST_F(ClipDataObjectTest, ASecondPasteDuringATransferIsRefusedAndTheFirstGoesOn)
{
    mOffer.getContents(0);
    EXPECT_EQ(mOffer.getContents(0), DV_E_FORMATETC);
    EXPECT_EQ(RecordingLog::count(6, "Detect new copy while copy event processing, ignore."), 1);
    mGuest.deliver(0, "0123456789");
    EXPECT_EQ(mOffer.getContents(1), S_OK);
    EXPECT_EQ(mGuest.requested.size(), 1u);
    EXPECT_TRUE(mGuest.cancelled.empty());
}

// A host's question to the user pumps messages, which may bring another paste.
TEST_F(ClipDataObjectTest, ASecondPasteFromInsideTheVetoOfTheFirstIsRefused)
{
    HRESULT inner = E_UNEXPECTED;
    mGuest.record->SetOLEClipboardPasteFunc([&] {
        inner = mOffer.getContents(0);
        return true;
    });
    EXPECT_EQ(mOffer.getContents(0), S_OK);
    EXPECT_EQ(inner, DV_E_FORMATETC);
    EXPECT_EQ(RecordingLog::count(6, "Detect new copy while copy event processing, ignore."), 1);
    EXPECT_EQ(mGuest.requested.size(), 1u);
}

TEST_F(ClipDataObjectTest, OneStreamServesFileAfterFileAndASecondPasteMakesNoRequest)
{
    ComPtr<IStream> first;
    mOffer.getContents(0, &first);
    mGuest.deliver(0, "0123456789");
    mGuest.deliver(1, "abc");
    mGuest.deliver(2, "vwxyz");
    EXPECT_EQ(read(*first.Get(), 100), "0123456789");
    ComPtr<IStream> second;
    EXPECT_EQ(mOffer.getContents(1, &second), S_OK);
    EXPECT_EQ(second, first);
    EXPECT_EQ(read(*second.Get(), 2), "ab");  // stops half way
    EXPECT_EQ(mOffer.getContents(0), S_OK);
    EXPECT_EQ(read(*first.Get(), 10), "0123456789");  // exactly the size and no further
    EXPECT_EQ(mOffer.getContents(0), S_OK);
    EXPECT_EQ(read(*first.Get(), 10), "0123456789");
    EXPECT_EQ(mOffer.getContents(1), S_OK);
    EXPECT_EQ(read(*first.Get(), 100), "abc");
    EXPECT_EQ(mGuest.requested.size(), 1u);
}

TEST_F(ClipDataObjectTest, ContentsInAnotherMediumAreRefusedWithoutALogAndAnEvent)
{
    EXPECT_EQ(mOffer.getData(kContents, 0, TYMED_HGLOBAL), DV_E_FORMATETC);
    EXPECT_TRUE(RecordingLog::lines().empty());
    EXPECT_TRUE(mGuest.listener->events().empty());
    EXPECT_TRUE(mGuest.requested.empty());
}

TEST_F(ClipDataObjectTest, WithoutARequestFunctionContentsAreRefusedWithoutAnEvent)
{
    mGuest.record->SetFileFuncs(nullptr, nullptr);
    for (const LONG index : {0L, 3L}) {
        RecordingLog::clear();
        EXPECT_EQ(mOffer.getContents(index), DV_E_FORMATETC);
        EXPECT_EQ(RecordingLog::messages(), std::vector<std::string>{"request file data func is null"});
        EXPECT_TRUE(mGuest.listener->events().empty());
    }
}

TEST_F(ClipDataObjectTest, ARequestThatIsRefusedForAnotherPasteIsReportedToo)
{
    mOffer.getContents(0);
    mGuest.listener->clear();
    EXPECT_EQ(mOffer.getContents(0), DV_E_FORMATETC);
    EXPECT_EQ(mGuest.eventsOf("clientPaste").size(), 1u);
}

TEST_F(ClipDataObjectTest, ARequestToAnEmptyListIsReportedWithALengthOfZero)
{
    const auto record = std::make_shared<ClipboardFileDataImpl>();
    record->SetFileFuncs(mGuest.record->GetFileRequestFunc(), nullptr);
    const OfferedRecord offer(record);
    RecordingLog::clear();
    EXPECT_EQ(offer.getContents(0), DV_E_FORMATETC);
    EXPECT_EQ(RecordingLog::messages(), std::vector<std::string>{"file list invalid"});
    ASSERT_EQ(mGuest.eventsOf("clientPaste").size(), 1u);
    EXPECT_EQ(mGuest.listener->events()[0].number, 0);
}

TEST_F(ClipDataObjectTest, AVetoIsRefusedByPolicy)
{
    mGuest.record->SetOLEClipboardPasteFunc([] { return false; });
    EXPECT_EQ(mOffer.getContents(0), DV_E_FORMATETC);
    EXPECT_EQ(RecordingLog::messages(6), std::vector<std::string>{"Request file data failed, reject by policy."});
}

TEST_F(ClipDataObjectTest, AfterACancelItActsAsWithoutARecord)
{
    mOffer.getContents(0);
    mOffer.request->CancelRemoteTransfer();
    EXPECT_EQ(mOffer.getData(kDescriptor, -1, TYMED_HGLOBAL), DV_E_FORMATETC);
    EXPECT_EQ(mOffer.getContents(1), DV_E_FORMATETC);
    EXPECT_EQ(mOffer.query(kContents), S_FALSE);
    ComPtr<IEnumFORMATETC> formats;
    EXPECT_EQ(mOffer.enumerate(formats), E_NOTIMPL);
}

TEST_F(ClipDataObjectTest, ATerminatorAtTheEndOfANameStandsInItsKeyAndInNoLine)
{
    const std::string name("a.txt\0", 6);
    const ClipfileDescription file = GuestList::makeFile(name, 3);
    FileDataRequestCallback sink;
    const auto record = std::make_shared<ClipboardFileDataImpl>();
    record->SetFiles({file});
    record->SetFileFuncs(
        [&](const ClipfileDescription& asked, FileDataRequestCallback given) {
            EXPECT_EQ(asked.fileName, name);
            sink = std::move(given);
            return std::string();
        },
        nullptr);
    const OfferedRecord offer(record);
    ComPtr<IStream> stream;
    ASSERT_EQ(offer.getContents(0, &stream), S_OK);
    unsigned char bytes[] = {'a', 'b', 'c'};
    sink(file, bytes, sizeof bytes);
    EXPECT_EQ(read(*stream.Get(), 100), "abc");
    ASSERT_NE(offer.request->GetTransferFile(file), nullptr);
    EXPECT_EQ(offer.request->GetTransferFile(file)->Key(), name);
    EXPECT_EQ(offer.request->GetTransferFile(GuestList::makeFile("a.txt", 3)), nullptr);
    EXPECT_EQ(RecordingLog::count(5, "startRequestFileData:a.txt mRequestFileState:0"), 1);
    EXPECT_EQ(RecordingLog::count(5, "Download a.txt finish."), 1);
    EXPECT_EQ(RecordingLog::count(5, "a.txt copied finish."), 1);
}

TEST_F(ClipDataObjectTest, AnApplicationThatSleepsFourSecondsBetweenTwoReadsHasCancelledThePaste)
{
    const HeartbeatClock clock;
    ComPtr<IStream> stream;
    mOffer.getContents(0, &stream);
    mGuest.deliver(0, "0123456789");
    EXPECT_EQ(read(*stream.Get(), 4), "0123");
    HeartbeatClock::advance(2);
    mGuest.deliver(1, "a");
    EXPECT_EQ(read(*stream.Get(), 4), "4567");
    HeartbeatClock::advance(2);
    mGuest.deliver(1, "b");
    EXPECT_TRUE(mGuest.cancelled.empty());
    HeartbeatClock::advance(2);  // four since it has read
    mGuest.listener->clear();
    mGuest.deliver(1, "c");
    ASSERT_EQ(mGuest.listener->events().size(), 1u);
    EXPECT_EQ(mGuest.listener->events()[0].operation, "cancelTransfer");
    EXPECT_EQ(mGuest.listener->events()[0].stage, "userCancel");
    EXPECT_EQ(mGuest.listener->events()[0].message, "user cancel file transfer");
    EXPECT_EQ(mGuest.cancelled, std::vector<std::string>{"file0"});
    EXPECT_EQ(mOffer.request->GetRequestFileState(), RequestFileState::kRequestFailed);
    EXPECT_EQ(mOffer.request->GetTransferFile(mGuest.files[1])->ReadySize(), 2);
    EXPECT_EQ(mOffer.getContents(1), DV_E_FORMATETC);
}

TEST_F(ClipDataObjectTest, AnApplicationThatWaitsForASliceIsNotSilentHoweverLongItWaits)
{
    const HeartbeatClock clock;
    ComPtr<IStream> stream;
    mOffer.getContents(0, &stream);
    mGuest.deliver(0, "01234");
    auto reading = std::async(std::launch::async, [&] { return readStream(*stream.Get(), 10); });
    ASSERT_TRUE(RecordingLog::waitForLine(5, "Wait slice file.. this=", 20000));
    HeartbeatClock::advance(100);
    mGuest.deliver(0, "56789");
    EXPECT_EQ(reading.get().bytes, "0123456789");
    EXPECT_TRUE(mGuest.cancelled.empty());
    EXPECT_TRUE(mGuest.eventsOf("cancelTransfer").empty());
}

TEST_F(ClipDataObjectTest, AStreamThatIsGivenOutAgainHasOneReferenceMoreEachTime)
{
    ComPtr<IStream> first;
    for (const LONG index : {0L, 1L, 2L}) {
        ComPtr<IStream> stream;
        ASSERT_EQ(mOffer.getContents(index, &stream), S_OK);
        first = stream;
    }
    mOffer.data.Reset();
    EXPECT_EQ(first.Detach()->Release(), 0u);
}

TEST_F(ClipDataObjectTest, ItsDeathDuringATransferCancelsOnceAndRevertsTheStream)
{
    ComPtr<IStream> stream;
    mOffer.getContents(0, &stream);
    mGuest.deliver(0, "01234");
    mOffer.data.Reset();
    EXPECT_EQ(mGuest.cancelled, std::vector<std::string>{"file0"});
    EXPECT_TRUE(RecordingLog::hasLine(5, "destroy "));
    mGuest.deliver(0, "56789");
    EXPECT_EQ(RecordingLog::count(6, "mClipData is nullptr. maybe use canceled."), 1);
    EXPECT_EQ(readStream(*stream.Get(), 1).result, STG_E_REVERTED);
    EXPECT_EQ(stream.Detach()->Release(), 0u);  // whoever reads has the last reference
}

TEST_F(ClipDataObjectTest, ItsDeathCancelsWithTheFileThatTheStreamIsOn)
{
    mOffer.getContents(0);
    mGuest.deliver(0, "0123456789");
    mOffer.getContents(2);
    mOffer.data.Reset();
    EXPECT_EQ(mGuest.cancelled, std::vector<std::string>{"file2"});
}

TEST_F(ClipDataObjectTest, NullPointersAreRefused)
{
    FORMATETC format = {kContents, nullptr, DVASPECT_CONTENT, 0, TYMED_ISTREAM};
    STGMEDIUM medium;
    medium.tymed = TYMED_HGLOBAL;
    EXPECT_EQ(mOffer.data->GetData(nullptr, &medium), E_INVALIDARG);
    EXPECT_EQ(medium.tymed, static_cast<DWORD>(TYMED_NULL));  // an application may free what it finds there
    EXPECT_EQ(mOffer.data->GetData(&format, nullptr), E_INVALIDARG);
    EXPECT_EQ(mOffer.data->QueryGetData(nullptr), E_INVALIDARG);
    EXPECT_EQ(mOffer.data->EnumFormatEtc(DATADIR_GET, nullptr), E_INVALIDARG);
}

TEST(ClipDataObjectRecords, TakingARecordIsLoggedWithTheShortPrefix)
{
    GuestList guest({1});
    auto* const object = new ClipDataObject;
    RecordingLog::clear();
    object->SetClipboardData(guest.record);
    ASSERT_EQ(RecordingLog::lines().size(), 1u);
    EXPECT_EQ(RecordingLog::lines()[0].format, "%s %s(%d): SetClipboardData format:%d");
    EXPECT_EQ(RecordingLog::lines()[0].message, "SetClipboardData format:6");
    object->Release();
}

TEST_F(ClipDataObjectTest, ItsOperationsOnATransferAreThoseOfItsRequest)
{
    auto* const object = new ClipDataObject;
    object->SetClipboardData(mGuest.record);
    FileTransfer& transfer = *object;
    EXPECT_EQ(transfer.GetRequestFileState(), RequestFileState::kRequestIdle);
    EXPECT_FALSE(transfer.IsDataTransfering());
    bool rejected = true;
    EXPECT_TRUE(transfer.startRequestFileData(mGuest.files[1], rejected));
    EXPECT_FALSE(rejected);
    EXPECT_EQ(transfer.GetRequestFileState(), RequestFileState::kRequesting);
    EXPECT_TRUE(transfer.IsDataTransfering());
    EXPECT_EQ(transfer.GetTransferFile(mGuest.files[1]), nullptr);
    mGuest.deliver(1, "01");
    ASSERT_NE(transfer.GetTransferFile(mGuest.files[1]), nullptr);
    EXPECT_EQ(transfer.GetTransferFile(mGuest.files[1])->ReadySize(), 2);
    transfer.NotifyFileTransferFailed();
    EXPECT_EQ(RecordingLog::count(5, "Cancel file stream wait."), 1);
    transfer.CancelRemoteTransfer();
    EXPECT_EQ(mGuest.cancelled, std::vector<std::string>{"file1"});
    EXPECT_FALSE(transfer.IsDataTransfering());
    EXPECT_EQ(object->Release(), 0u);
}
