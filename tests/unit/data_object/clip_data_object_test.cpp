#include "data_object/clip_data_object.h"

#include <gtest/gtest.h>
#include <shlobj.h>
#include <wrl/client.h>

#include <memory>

#include "file_stream/read_heartbeat.h"
#include "guest_list.h"
#include "support/import_hook.h"
#include "support/recording_log.h"

using namespace sd::clip;
using Microsoft::WRL::ComPtr;

namespace {

CLIPFORMAT formatNumber(const wchar_t* name)
{
    return static_cast<CLIPFORMAT>(RegisterClipboardFormatW(name));
}

const CLIPFORMAT kDescriptor = formatNumber(L"FileGroupDescriptorW");
const CLIPFORMAT kContents = formatNumber(L"FileContents");
const CLIPFORMAT kAsyncFlag = formatNumber(L"AsyncFlag");

// Through interface pointers only, as an application has it.
class ClipDataObjectTest : public testing::Test {
protected:
    ClipDataObjectTest()
    {
        auto* const object = new ClipDataObject;
        object->SetClipboardData(mGuest.record);
        EXPECT_GE(object->DataObjectInit(), 0);
        mRequest = object->GetRequest();
        EXPECT_EQ(object->QueryInterface(IID_IDataObject, reinterpret_cast<void**>(mData.GetAddressOf())), S_OK);
        object->Release();
        gLastReadTime = 0;
        gReadState = ReadState::kNeverRead;
        RecordingLog::clear();
    }

    HRESULT getData(CLIPFORMAT format, LONG index, DWORD tymed, ComPtr<IStream>* stream = nullptr)
    {
        FORMATETC wanted = {format, nullptr, DVASPECT_CONTENT, index, tymed};
        STGMEDIUM medium;
        const HRESULT result = mData->GetData(&wanted, &medium);
        if (result == S_OK && stream != nullptr)
            *stream = medium.pstm;
        if (result == S_OK)
            ReleaseStgMedium(&medium);
        return result;
    }

    HRESULT getContents(LONG index, ComPtr<IStream>* stream = nullptr)
    {
        return getData(kContents, index, TYMED_ISTREAM, stream);
    }

    HRESULT query(CLIPFORMAT format, DWORD tymed = TYMED_HGLOBAL)
    {
        FORMATETC wanted = {format, nullptr, DVASPECT_CONTENT, -1, tymed};
        return mData->QueryGetData(&wanted);
    }

    static std::string read(IStream& stream, ULONG length)
    {
        std::string bytes(length, '\0');
        ULONG count = 0;
        const HRESULT result = stream.Read(bytes.data(), length, &count);
        EXPECT_TRUE(result == S_OK || result == S_FALSE) << std::hex << result;
        bytes.resize(count);
        return bytes;
    }

    GuestList mGuest{{10, 3, 5}};
    std::shared_ptr<FileRequest> mRequest;
    ComPtr<IDataObject> mData;
};

}  // namespace

TEST_F(ClipDataObjectTest, TheDescriptorStartsNoTransfer)
{
    EXPECT_EQ(getData(kDescriptor, -1, TYMED_HGLOBAL), S_OK);
    EXPECT_EQ(RecordingLog::messages(5), (std::vector<std::string>{"formatFileDesc", "totalFileCount:3."}));
    EXPECT_TRUE(mGuest.requested.empty());
    EXPECT_TRUE(mGuest.listener->events().empty());
}

TEST_F(ClipDataObjectTest, TheDescriptorWorksDuringATransfer)
{
    getContents(0);
    EXPECT_EQ(getData(kDescriptor, -1, TYMED_HGLOBAL), S_OK);
}

TEST_F(ClipDataObjectTest, ADescriptorInAnotherMediumIsRefused)
{
    EXPECT_EQ(getData(kDescriptor, -1, TYMED_ISTREAM), DV_E_FORMATETC);
    EXPECT_EQ(RecordingLog::messages(), std::vector<std::string>{"formatFileDesc"});
}

TEST_F(ClipDataObjectTest, TheFirstContentsRequestStartsTheTransferAndGivesAStream)
{
    ComPtr<IStream> stream;
    EXPECT_EQ(getContents(0, &stream), S_OK);
    EXPECT_NE(stream, nullptr);
    EXPECT_EQ(mGuest.requested, std::vector<std::string>{"file0"});
    ASSERT_EQ(mGuest.listener->events().size(), 2u);
    const RecordedEvent paste = mGuest.listener->events()[0];
    EXPECT_EQ(paste.operation, "clientPaste");
    EXPECT_EQ(paste.stage, "getFileContent");
    EXPECT_EQ(paste.message, "pformatetcIn->cfFormat == mFormatFileContent");
    EXPECT_EQ(paste.number, 3);
    EXPECT_TRUE(RecordingLog::hasLine(5, "Create filestream(file0) to copy to destination."));
}

TEST_F(ClipDataObjectTest, AFirstRequestForALaterFileNamesThatFile)
{
    EXPECT_EQ(getContents(2), S_OK);
    EXPECT_EQ(mGuest.requested, std::vector<std::string>{"file2"});
}

TEST_F(ClipDataObjectTest, IndexesBeyondTheListAreRefusedAfterTheEvent)
{
    for (const LONG index : {-1L, 3L, 2147483647L}) {
        RecordingLog::clear();
        mGuest.listener->clear();
        EXPECT_EQ(getContents(index), DV_E_FORMATETC);
        EXPECT_EQ(RecordingLog::messages(6), std::vector<std::string>{"file list invalid"});
        EXPECT_EQ(mGuest.eventsOf("clientPaste").size(), 1u);
    }
    EXPECT_TRUE(mGuest.requested.empty());
}

TEST_F(ClipDataObjectTest, ASecondPasteDuringATransferIsRefusedAndTheFirstGoesOn)
{
    getContents(0);
    EXPECT_EQ(getContents(0), DV_E_FORMATETC);
    EXPECT_EQ(RecordingLog::count(6, "Detect new copy while copy event processing, ignore."), 1);
    mGuest.deliver(0, "0123456789");
    EXPECT_EQ(getContents(1), S_OK);
    EXPECT_EQ(mGuest.requested.size(), 1u);
    EXPECT_TRUE(mGuest.cancelled.empty());
}

TEST_F(ClipDataObjectTest, OneStreamServesFileAfterFileAndASecondPasteMakesNoRequest)
{
    ComPtr<IStream> first;
    getContents(0, &first);
    mGuest.deliver(0, "0123456789");
    mGuest.deliver(1, "abc");
    mGuest.deliver(2, "vwxyz");
    EXPECT_EQ(read(*first.Get(), 100), "0123456789");
    ComPtr<IStream> second;
    EXPECT_EQ(getContents(1, &second), S_OK);
    EXPECT_EQ(second, first);
    EXPECT_EQ(read(*second.Get(), 2), "ab");  // stops half way
    EXPECT_EQ(getContents(0), S_OK);
    EXPECT_EQ(read(*first.Get(), 10), "0123456789");  // exactly the size and no further
    EXPECT_EQ(getContents(0), S_OK);
    EXPECT_EQ(read(*first.Get(), 10), "0123456789");
    EXPECT_EQ(getContents(1), S_OK);
    EXPECT_EQ(read(*first.Get(), 100), "abc");
    EXPECT_EQ(mGuest.requested.size(), 1u);
}

TEST_F(ClipDataObjectTest, ContentsInAnotherMediumAreRefusedWithoutALog)
{
    EXPECT_EQ(getData(kContents, 0, TYMED_HGLOBAL), DV_E_FORMATETC);
    EXPECT_TRUE(RecordingLog::lines().empty());
    EXPECT_TRUE(mGuest.requested.empty());
}

TEST_F(ClipDataObjectTest, WithoutARequestFunctionContentsAreRefused)
{
    mGuest.record->SetFileFuncs(nullptr, nullptr);
    EXPECT_EQ(getContents(0), DV_E_FORMATETC);
    EXPECT_EQ(RecordingLog::messages(), std::vector<std::string>{"request file data func is null"});
}

TEST_F(ClipDataObjectTest, AVetoIsRefusedByPolicy)
{
    mGuest.record->SetOLEClipboardPasteFunc([] { return false; });
    EXPECT_EQ(getContents(0), DV_E_FORMATETC);
    EXPECT_EQ(RecordingLog::messages(6), std::vector<std::string>{"Request file data failed, reject by policy."});
}

TEST_F(ClipDataObjectTest, QueriesAreAnsweredWhateverTheMedium)
{
    EXPECT_EQ(query(kDescriptor, TYMED_ISTREAM), S_OK);
    EXPECT_EQ(query(kContents, 0), S_OK);
    EXPECT_EQ(query(kAsyncFlag), S_OK);
    EXPECT_EQ(query(CF_UNICODETEXT), S_FALSE);  // the platform's object can't be made
}

TEST_F(ClipDataObjectTest, FormatsAreListedInTheirOrder)
{
    ComPtr<IEnumFORMATETC> formats;
    ASSERT_EQ(mData->EnumFormatEtc(DATADIR_GET, formats.GetAddressOf()), S_OK);
    FORMATETC listed[4] = {};
    ULONG count = 0;
    formats->Next(4, listed, &count);
    ASSERT_EQ(count, 3u);
    EXPECT_EQ(listed[0].cfFormat, kDescriptor);
    EXPECT_EQ(listed[0].tymed, static_cast<DWORD>(TYMED_HGLOBAL));
    EXPECT_EQ(listed[1].cfFormat, kAsyncFlag);
    EXPECT_EQ(listed[2].cfFormat, kContents);
    EXPECT_EQ(listed[2].tymed, static_cast<DWORD>(TYMED_ISTREAM));
    EXPECT_EQ(listed[2].lindex, -1);
    formats.Reset();
    EXPECT_EQ(mData->EnumFormatEtc(DATADIR_SET, formats.GetAddressOf()), E_NOTIMPL);
    EXPECT_EQ(formats, nullptr);
}

TEST_F(ClipDataObjectTest, AfterACancelItActsAsWithoutARecord)
{
    getContents(0);
    mRequest->CancelRemoteTransfer();
    EXPECT_EQ(getData(kDescriptor, -1, TYMED_HGLOBAL), DV_E_FORMATETC);
    EXPECT_EQ(getContents(1), DV_E_FORMATETC);
    EXPECT_EQ(query(kContents), S_FALSE);
    ComPtr<IEnumFORMATETC> formats;
    EXPECT_EQ(mData->EnumFormatEtc(DATADIR_GET, formats.GetAddressOf()), E_NOTIMPL);
}

TEST_F(ClipDataObjectTest, ItsDeathDuringATransferCancelsOnceAndRevertsTheStream)
{
    ComPtr<IStream> stream;
    getContents(0, &stream);
    mGuest.deliver(0, "01234");
    mData.Reset();
    EXPECT_EQ(mGuest.cancelled, std::vector<std::string>{"file0"});
    EXPECT_TRUE(RecordingLog::hasLine(5, "destroy "));
    mGuest.deliver(0, "56789");
    EXPECT_EQ(RecordingLog::count(6, "mClipData is nullptr. maybe use canceled."), 1);
    char buffer = 0;
    ULONG count = 0;
    EXPECT_EQ(stream->Read(&buffer, 1, &count), STG_E_REVERTED);
    EXPECT_EQ(stream.Detach()->Release(), 0u);  // whoever reads has the last reference
}

TEST_F(ClipDataObjectTest, NullPointersAreRefused)
{
    FORMATETC format = {kContents, nullptr, DVASPECT_CONTENT, 0, TYMED_ISTREAM};
    STGMEDIUM medium;
    EXPECT_EQ(mData->GetData(nullptr, &medium), E_INVALIDARG);
    EXPECT_EQ(mData->GetData(&format, nullptr), E_INVALIDARG);
    EXPECT_EQ(mData->QueryGetData(nullptr), E_INVALIDARG);
    EXPECT_EQ(mData->EnumFormatEtc(DATADIR_GET, nullptr), E_INVALIDARG);
}

TEST(ClipDataObjectRecords, ARecordOfAnotherKindOrNoneOffersNothing)
{
    const std::shared_ptr<ClipboardData> others[] = {nullptr, std::make_shared<ClipboardTextDataImpl>(),
                                                     ClipboardRichtextData::Create()};
    for (const auto& record : others) {
        auto* const object = new ClipDataObject;
        object->SetClipboardData(record);
        object->DataObjectInit();
        FORMATETC format = {kDescriptor, nullptr, DVASPECT_CONTENT, -1, TYMED_HGLOBAL};
        STGMEDIUM medium;
        EXPECT_EQ(object->GetData(&format, &medium), DV_E_FORMATETC);
        EXPECT_EQ(object->QueryGetData(&format), S_FALSE);
        IEnumFORMATETC* formats = nullptr;
        EXPECT_EQ(object->EnumFormatEtc(DATADIR_GET, &formats), E_NOTIMPL);
        EXPECT_EQ(object->Release(), 0u);
    }
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
