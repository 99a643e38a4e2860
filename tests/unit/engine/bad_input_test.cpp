// What a host or a pasting application may hand over by mistake: no crash, nothing outside the cache directory, and the
// answers that both count on. Lists whose names could escape are refused earlier (guest_list_refusal_test.cpp).
#include <shlobj.h>

#include <algorithm>
#include <climits>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "live_transfer.h"

using namespace sd::clip;
using Microsoft::WRL::ComPtr;
namespace fs = std::filesystem;

namespace {

CLIPFORMAT formatNumber(const wchar_t* name)
{
    return static_cast<CLIPFORMAT>(RegisterClipboardFormatW(name));
}

const CLIPFORMAT kDescriptor = formatNumber(L"FileGroupDescriptorW");
const CLIPFORMAT kContents = formatNumber(L"FileContents");

// A file record, but none of the library's own classes.
class ForeignRecord : public ClipboardFileData {
public:
    ClipboardFormat GetFormat() override
    {
        return ClipboardFormat::File;
    }
    void SetFiles(std::vector<ClipfileDescription> files) override
    {
        mFiles = std::move(files);
    }
    std::vector<ClipfileDescription>& GetFiles() override
    {
        return mFiles;
    }
    bool SetFileFuncs(FileRequestFunc /*request*/, FileCancelFunc /*cancel*/) override
    {
        return false;
    }
    FileRequestFunc GetFileRequestFunc() override
    {
        return nullptr;
    }

private:
    std::vector<ClipfileDescription> mFiles;
};

// The pasting application is the work thread's own here: so it asks without an interface in between that would refuse
// a null by itself.
class BadInput : public LiveTransfer {
protected:
    void offerRecord(std::shared_ptr<ClipboardData> record)
    {
        EXPECT_TRUE(mEngine->SetClipboardData(ClipboardFormat::File, std::move(record)));
        EXPECT_EQ(mListener->events().back().stage, "setComplete");
    }

    void onObject(const std::function<void(IDataObject&)>& ask)
    {
        onWorkThread([&] {
            ASSERT_NE(TestAccess::notedObject(*mEngine), nullptr);
            const ComPtr<IDataObject> object(TestAccess::notedObject(*mEngine));
            ask(*object.Get());
        });
    }

    static HRESULT getData(IDataObject& object, CLIPFORMAT number, DWORD tymed, LONG index = -1)
    {
        FORMATETC format = {number, nullptr, DVASPECT_CONTENT, index, tymed};
        STGMEDIUM medium;
        const HRESULT result = object.GetData(&format, &medium);
        if (result == S_OK)
            ReleaseStgMedium(&medium);
        return result;
    }

    void expectNothingOffered(std::int64_t countedFiles)
    {
        EXPECT_EQ(mListener->events().back().number, countedFiles);
        onObject([](IDataObject& object) {
            EXPECT_EQ(getData(object, kDescriptor, TYMED_HGLOBAL), DV_E_FORMATETC);
            EXPECT_EQ(getData(object, kContents, TYMED_ISTREAM, 0), DV_E_FORMATETC);
        });
    }

    void beginTransfer()
    {
        offer();
        ASSERT_EQ(paste(), S_OK);
    }

    void deliverFor(const ClipfileDescription& file, std::string bytes)
    {
        mDelivery.run([&] { mGuest.sink(file, reinterpret_cast<unsigned char*>(bytes.data()), bytes.size()); });
    }

    std::vector<std::string> slices() const
    {
        std::vector<std::string> contents;
        for (const auto& entry : fs::directory_iterator(mGuest.folder.path() + L"\\cache")) {
            std::ifstream file(entry.path(), std::ios::binary);
            contents.emplace_back(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
        }
        std::sort(contents.begin(), contents.end());
        return contents;
    }

    // The cache directory is all that there is in the folder around it, and holds files only.
    void expectNothingOutsideTheCache() const
    {
        for (const auto& entry : fs::directory_iterator(mGuest.folder.path()))
            EXPECT_EQ(entry.path().filename(), L"cache");
        for (const auto& entry : fs::directory_iterator(mGuest.folder.path() + L"\\cache"))
            EXPECT_TRUE(entry.is_regular_file());
    }

    RequestFileState state()
    {
        RequestFileState state = RequestFileState::kRequestIdle;
        onWorkThread([&] { state = TestAccess::notedObject(*mEngine)->GetRequestFileState(); });
        return state;
    }
};

}  // namespace

// ---- Records ----

TEST_F(BadInput, ANullRecordCountsNoFilesAndOffersNothing)
{
    offerRecord(nullptr);
    expectNothingOffered(0);
}

TEST_F(BadInput, ARecordOfAnotherKindCountsNoFilesAndOffersNothing)
{
    for (const std::shared_ptr<ClipboardData>& record :
         {std::shared_ptr<ClipboardData>(std::make_shared<ClipboardTextDataImpl>()),
          std::shared_ptr<ClipboardData>(std::make_shared<ClipboardImageDataImpl>()),
          std::shared_ptr<ClipboardData>(ClipboardRichtextData::Create())}) {
        offerRecord(record);
        expectNothingOffered(0);
    }
}

TEST_F(BadInput, AFileRecordOfTheHostsOwnClassOffersNothing)
{
    const auto record = std::make_shared<ForeignRecord>();
    record->SetFiles(mGuest.files);
    offerRecord(record);
    expectNothingOffered(2);
}

TEST_F(BadInput, AFileRecordThatCanHaveNoTargetIsRefusedByThePlaceholderRoute)
{
    const auto record = std::make_shared<ForeignRecord>();
    record->SetFiles(mGuest.files);
    RecordingLog::clear();
    EXPECT_FALSE(mEngine->SetClipboardData(ClipboardFormat::FileLazy, record));
    EXPECT_EQ(RecordingLog::messages(6), std::vector<std::string>{"No file record to render lazily"});
}

TEST_F(BadInput, AnEmptyListHasAnEmptyDescriptorAndNoContents)
{
    const auto record = std::make_shared<ClipboardFileDataImpl>();
    record->SetFileFuncs(mGuest.record->GetFileRequestFunc(), nullptr);
    offerRecord(record);
    EXPECT_EQ(mListener->events().back().number, 0);
    onObject([](IDataObject& object) {
        FORMATETC format = {kDescriptor, nullptr, DVASPECT_CONTENT, -1, TYMED_HGLOBAL};
        STGMEDIUM medium = {};
        ASSERT_EQ(object.GetData(&format, &medium), S_OK);
        EXPECT_EQ(GlobalSize(medium.hGlobal), sizeof(UINT));
        EXPECT_EQ(*static_cast<const UINT*>(GlobalLock(medium.hGlobal)), 0u);
        GlobalUnlock(medium.hGlobal);
        ReleaseStgMedium(&medium);
        EXPECT_EQ(getData(object, kContents, TYMED_ISTREAM, 0), DV_E_FORMATETC);
    });
    EXPECT_EQ(RecordingLog::count(6, "file list invalid"), 1);
    EXPECT_TRUE(mGuest.requested.empty());
}

TEST_F(BadInput, AListThatDoesNotFitADescriptorIsRefusedInsteadOfCutOff)
{
    constexpr std::size_t kTooMany = 7255013;
    const auto record = std::make_shared<ClipboardFileDataImpl>();
    record->GetFiles().resize(kTooMany);
    auto* const made = new ClipDataObject;
    made->SetClipboardData(record);
    made->DataObjectInit();
    EXPECT_EQ(getData(*made, kDescriptor, TYMED_HGLOBAL), DV_E_FORMATETC);
    EXPECT_EQ(RecordingLog::count(6, "The list of 7255013 files is too long for a descriptor"), 1);
    EXPECT_EQ(made->Release(), 0u);
}

// ---- The pasting application ----

TEST_F(BadInput, AnIndexOutOfRangeStartsNoTransfer)
{
    offer();
    for (const LONG index : {-1L, 2L, LONG_MIN, LONG_MAX})
        EXPECT_EQ(paste(index), DV_E_FORMATETC);
    EXPECT_EQ(RecordingLog::count(6, "file list invalid"), 4);
    EXPECT_TRUE(mGuest.requested.empty());
    EXPECT_EQ(paste(1), S_OK);
}

TEST_F(BadInput, NullPointersFromAnApplicationAreRefused)
{
    offer();
    onObject([this](IDataObject& object) {
        FORMATETC format = {kContents, nullptr, DVASPECT_CONTENT, 0, TYMED_ISTREAM};
        STGMEDIUM medium;
        EXPECT_EQ(object.GetData(nullptr, &medium), E_INVALIDARG);
        EXPECT_EQ(object.GetData(&format, nullptr), E_INVALIDARG);
        EXPECT_EQ(object.QueryGetData(nullptr), E_INVALIDARG);
        EXPECT_EQ(object.EnumFormatEtc(DATADIR_GET, nullptr), E_INVALIDARG);
        EXPECT_TRUE(FAILED(object.QueryInterface(IID_IDataObject, nullptr)));
        EXPECT_TRUE(mGuest.requested.empty());
        ASSERT_EQ(getContents(object, 0), S_OK);
        char oneByte = 0;
        ULONG count = 0;
        EXPECT_EQ(mStream->Read(nullptr, 1, &count), STG_E_INVALIDPOINTER);
        EXPECT_EQ(mStream->Read(&oneByte, 1, nullptr), STG_E_INVALIDPOINTER);
        EXPECT_EQ(mStream->Stat(nullptr, STATFLAG_NONAME), STG_E_INVALIDFUNCTION);
        EXPECT_EQ(mStream->Seek({}, STREAM_SEEK_SET, nullptr), S_OK);
        EXPECT_TRUE(FAILED(mStream->QueryInterface(IID_IStream, nullptr)));
        mStream.Reset();
    });
}

// ---- Deliveries ----

TEST_F(BadInput, ADeliveryForAFileThatIsNotInTheListStaysInTheCacheDirectory)
{
    beginTransfer();
    for (const char* name : {"stranger", "..\\..\\startup.exe", "../outside", "C:\\outside", "\\\\server\\share", ""})
        deliverFor(GuestList::makeFile(name, 1), "x");
    ClipfileDescription nested = GuestList::makeFile("name", 1);
    nested.relativePath = "..\\..\\outside";
    deliverFor(nested, "x");
    EXPECT_EQ(slices(), std::vector<std::string>(7, "x"));
    expectNothingOutsideTheCache();
    EXPECT_EQ(mGuest.record->GetTransferredSize(), 7u);  // they count, as the sums are the record's
    deliver(0, "0123456789");
    EXPECT_EQ(read(10).bytes, "0123456789");
}

TEST_F(BadInput, ADeliveryOfNoBytesChangesNothing)
{
    beginTransfer();
    mDelivery.run([this] { mGuest.sink(mGuest.files[0], nullptr, 0); });
    deliver(0, "01234");
    mDelivery.run([this] { mGuest.sink(mGuest.files[0], nullptr, 0); });
    EXPECT_EQ(mGuest.record->GetTransferredSize(), 5u);
    deliver(0, "56789");
    EXPECT_EQ(read(10).bytes, "0123456789");
    EXPECT_EQ(slices(), std::vector<std::string>{"0123456789"});
}

TEST_F(BadInput, MoreThanAFilesSizeNeverEndsIt)
{
    beginTransfer();
    deliver(0, "0123456789x");
    deliver(1, std::string(19, 'b'));
    EXPECT_EQ(mGuest.record->GetTransferredSize(), 30u);
    EXPECT_EQ(state(), RequestFileState::kTransfering);
    for (const RecordedEvent& event : mListener->events())
        EXPECT_NE(event.operation, "transferFinish");
    expectNothingOutsideTheCache();
}

TEST_F(BadInput, ADeliveryAfterTheEndIsTakenAndTheFileStaysAsItIs)
{
    beginTransfer();
    deliver(0, "0123456789");
    deliver(1, std::string(20, 'b'));
    EXPECT_EQ(state(), RequestFileState::kRequestFinished);
    deliver(0, "late");
    EXPECT_EQ(state(), RequestFileState::kTransfering);
    EXPECT_EQ(read(100).bytes, "0123456789");
    EXPECT_EQ(read(100).bytes, "");
    expectNothingOutsideTheCache();
}

TEST_F(BadInput, ADeliveryAfterACancelIsDropped)
{
    beginTransfer();
    deliver(0, "01234");
    fallSilent();
    deliver(0, "56789");
    const auto before = slices();
    deliver(0, "56789");
    deliver(1, "b");
    mDelivery.run([this] { mGuest.sink(mGuest.files[1], nullptr, 0); });
    EXPECT_EQ(RecordingLog::count(6, "mClipData is nullptr. maybe use canceled."), 3);
    EXPECT_EQ(slices(), before);
    EXPECT_EQ(mGuest.record->GetTransferredSize(), 5u);
    EXPECT_EQ(mGuest.cancelled.size(), 1u);
}
