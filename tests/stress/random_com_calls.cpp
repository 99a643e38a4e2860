#include "random_com_calls.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <utility>

#include "odd_records.h"
#include "support/import_hook.h"
#include "support/journal.h"
#include "support/recording_log.h"
#include "unit/data_object/heartbeat_clock.h"

using namespace sd::clip;
using Microsoft::WRL::ComPtr;

namespace {

constexpr std::size_t kMostOffers = 4;
constexpr std::size_t kMostStreams = 8;
constexpr std::uint64_t kLongestDelivery = 2000000;

// No pause of a reader lasts: what it waits for comes from the same thread, or not at all.
void WINAPI sleepNot(DWORD /*milliseconds*/) {}

}  // namespace

struct RandomComCalls::Surroundings {
    const HeartbeatClock clock;
    const ImportHook<decltype(&Sleep)> pauses{nullptr, "Sleep", &sleepNot};
};

RandomComCalls::RandomComCalls(std::uint64_t seed)
    : mSurroundings(std::make_unique<Surroundings>()), mRandom(seed), mBytes(kLongestDelivery, 'b')
{
}

RandomComCalls::~RandomComCalls()
{
    letAllGo();
}

void RandomComCalls::call(std::size_t count)
{
    constexpr std::size_t kCallsOfALog = 200;
    for (std::size_t i = 0; i < count; ++i) {
        callOnce();
        if (i % kCallsOfALog == 0) {
            RecordingLog::clear();
            Journal::shared().clear();
        }
    }
}

void RandomComCalls::callOnce()
{
    const auto choice = mRandom.below(20);
    if (mOffers.empty() || choice == 0)
        return makeOffer();
    Offer& offer = *mOffers[mRandom.below(mOffers.size())];
    switch (choice) {
        case 1:
            return dropOffer();
        case 2:
            return deliver();
        case 3:
            return callTransfer(*offer.request);
        case 4:
        case 5:
            return callEnumerator();
        case 6:
            return dropStream();
        case 7:
        case 8:
        case 9:
        case 10:
        case 11:
            return callStream();
        default:
            callObject(*offer.data.Get());
    }
}

void RandomComCalls::makeOffer()
{
    if (mOffers.size() == kMostOffers)
        dropOffer();
    mOffers.push_back(std::make_unique<Offer>());
    Offer& offer = *mOffers.back();
    offer.files = makeOddList(mRandom);
    const auto record = makeOddRecord(
        mRandom, offer.files,
        [this, &offer](const ClipfileDescription&, FileDataRequestCallback sink) {
            if (mRandom.oneIn(20))
                throw std::runtime_error("the host's");
            offer.sink = std::move(sink);
            return std::string();
        },
        [](const ClipfileDescription&) {}, [this] { return !vetoes(); });
    auto* const object = new ClipDataObject;
    offer.request = object->GetRequest();
    object->SetClipboardData(record);
    object->DataObjectInit();
    *offer.data.GetAddressOf() = object;
}

// A host's question to its user pumps messages, which may bring any call.
bool RandomComCalls::vetoes()
{
    if (mRandom.oneIn(4))
        getData(*mOffers[mRandom.below(mOffers.size())]->data.Get());
    return mRandom.oneIn(4);
}

void RandomComCalls::dropOffer()
{
    constexpr std::size_t kMostOldSinks = 8;
    const auto place = mOffers.begin() + static_cast<std::ptrdiff_t>(mRandom.below(mOffers.size()));
    EXPECT_EQ((*place)->data.Detach()->Release(), 0u);
    if ((*place)->sink)
        mOldSinks.push_back((*place)->sink);
    if (mOldSinks.size() > kMostOldSinks)
        mOldSinks.erase(mOldSinks.begin());
    mOffers.erase(place);
}

// Whole files only: a reader would wait half a minute for the rest.
void RandomComCalls::deliver()
{
    if (mRandom.oneIn(4)) {
        HeartbeatClock::advance(static_cast<std::int64_t>(mRandom.below(5)));
        return;
    }
    const Offer& offer = *mOffers[mRandom.below(mOffers.size())];
    if (!mOldSinks.empty() && mRandom.oneIn(4))
        mRandom.pick(mOldSinks)(ClipfileDescription(), reinterpret_cast<unsigned char*>(mBytes.data()), 1);
    if (!offer.sink || offer.files.empty())
        return;
    for (std::size_t i = 1 + mRandom.below(4); i > 0; --i) {
        const ClipfileDescription& file = mRandom.pick(offer.files);
        if (file.size <= kLongestDelivery)
            deliverFile(offer, file);
    }
}

void RandomComCalls::deliverFile(const Offer& offer, const ClipfileDescription& file)
{
    std::uint64_t begin = 0;
    do {
        const std::uint64_t size = std::min<std::uint64_t>(1 + mRandom.below(500000), file.size - begin);
        offer.sink(file, reinterpret_cast<unsigned char*>(mBytes.data()), size);
        begin += size;
    } while (begin < file.size);
}

void RandomComCalls::callTransfer(FileRequest& request)
{
    if (!mRandom.oneIn(4))
        return;
    if (mRandom.oneIn(2))
        request.CancelRemoteTransfer();
    else
        request.NotifyFileTransferFailed();
}

FORMATETC RandomComCalls::anyFormat()
{
    static const CLIPFORMAT kFormats[] = {
        static_cast<CLIPFORMAT>(RegisterClipboardFormatW(L"FileContents")),
        static_cast<CLIPFORMAT>(RegisterClipboardFormatW(L"FileContents")),
        static_cast<CLIPFORMAT>(RegisterClipboardFormatW(L"FileContents")),
        static_cast<CLIPFORMAT>(RegisterClipboardFormatW(L"FileGroupDescriptorW")),
        static_cast<CLIPFORMAT>(RegisterClipboardFormatW(L"AsyncFlag")),
        CF_UNICODETEXT,
        CF_HDROP,
        0,
        0xFFFF,
    };
    static constexpr LONG kIndexes[] = {
        0, 0, 0, 1, 2, 3, -1, -2, std::numeric_limits<LONG>::max(), std::numeric_limits<LONG>::min()};
    static constexpr DWORD kMedia[] = {TYMED_ISTREAM, TYMED_ISTREAM, TYMED_ISTREAM, TYMED_HGLOBAL,
                                       TYMED_FILE,    TYMED_NULL,    0xFFFFFFFF};
    DVTARGETDEVICE* const device = nullptr;
    const DWORD aspect = mRandom.oneIn(4) ? static_cast<DWORD>(mRandom.bits()) : DWORD{DVASPECT_CONTENT};
    return {mRandom.pick(kFormats), device, aspect, mRandom.pick(kIndexes), mRandom.pick(kMedia)};
}

void RandomComCalls::getData(IDataObject& data)
{
    FORMATETC format = anyFormat();
    STGMEDIUM medium;
    std::memset(&medium, 0xCC, sizeof medium);
    if (mRandom.oneIn(20)) {
        EXPECT_EQ(data.GetData(nullptr, &medium), E_INVALIDARG);
        EXPECT_EQ(data.GetData(&format, nullptr), E_INVALIDARG);
        return;
    }
    if (data.GetData(&format, &medium) != S_OK) {
        EXPECT_EQ(medium.tymed, static_cast<DWORD>(TYMED_NULL));
        return;
    }
    EXPECT_TRUE(medium.tymed == TYMED_HGLOBAL || medium.tymed == TYMED_ISTREAM);
    EXPECT_NE(medium.hGlobal, nullptr);
    if (medium.tymed == TYMED_ISTREAM) {
        if (mStreams.size() == kMostStreams)
            dropStream();
        mStreams.emplace_back(medium.pstm);
    }
    ReleaseStgMedium(&medium);
}

void RandomComCalls::callObject(IDataObject& data)
{
    FORMATETC format = anyFormat();
    FORMATETC* const maybeFormat = mRandom.oneIn(4) ? nullptr : &format;
    FORMATETC canonical = {};
    STGMEDIUM medium = {};
    DWORD connection = 0;
    IEnumSTATDATA* connections = nullptr;
    const auto number = static_cast<DWORD>(mRandom.below(4));
    switch (mRandom.below(16)) {
        case 0:
            EXPECT_TRUE(FAILED(data.GetDataHere(maybeFormat, mRandom.oneIn(4) ? nullptr : &medium)));
            break;
        case 1:
        case 2:
            EXPECT_EQ(data.QueryGetData(maybeFormat) == E_INVALIDARG, maybeFormat == nullptr);
            break;
        case 3:
            EXPECT_TRUE(FAILED(data.GetCanonicalFormatEtc(maybeFormat, mRandom.oneIn(4) ? nullptr : &canonical)));
            break;
        case 4:
            data.SetData(maybeFormat, mRandom.oneIn(4) ? nullptr : &medium, FALSE);
            break;
        case 5:
        case 6:
            mFormats.Reset();
            data.EnumFormatEtc(number, mRandom.oneIn(8) ? nullptr : mFormats.GetAddressOf());
            break;
        case 7:
            EXPECT_TRUE(FAILED(data.DAdvise(maybeFormat, number, nullptr, mRandom.oneIn(4) ? nullptr : &connection)));
            EXPECT_TRUE(FAILED(data.DUnadvise(number)));
            EXPECT_TRUE(FAILED(data.EnumDAdvise(mRandom.oneIn(4) ? nullptr : &connections)));
            break;
        case 8:
            askForInterface(data);
            askForInterfaceNowhere(data);
            break;
        default:
            getData(data);
    }
}

void RandomComCalls::askForInterface(IUnknown& object)
{
    GUID any = {};
    any.Data1 = static_cast<unsigned long>(mRandom.bits());
    const IID ids[] = {IID_IUnknown, IID_IDataObject, IID_IStream, IID_ISequentialStream, IID_IEnumFORMATETC, any};
    const IID& id = mRandom.pick(ids);
    void* found = &any;
    const HRESULT result = object.QueryInterface(id, &found);
    EXPECT_EQ(FAILED(result), found == nullptr);
    if (found != nullptr)
        static_cast<IUnknown*>(found)->Release();
}

// Not for the enumerator, which is the platform's: Wine's writes through the null.
void RandomComCalls::askForInterfaceNowhere(IUnknown& object)
{
    EXPECT_TRUE(FAILED(object.QueryInterface(IID_IUnknown, nullptr)));
    EXPECT_TRUE(FAILED(object.QueryInterface(IID_IEnumFORMATETC, nullptr)));
}

// Within what the platform's enumerator takes.
void RandomComCalls::callEnumerator()
{
    if (!mFormats)
        return;
    FORMATETC formats[4] = {};
    ULONG count = 0;
    ComPtr<IEnumFORMATETC> clone;
    switch (mRandom.below(6)) {
        case 0:
            mFormats->Reset();
            break;
        case 1:
            mFormats->Skip(static_cast<ULONG>(mRandom.below(5)));
            break;
        case 2:
            if (mFormats->Clone(clone.GetAddressOf()) == S_OK)
                mFormats.Swap(clone);
            break;
        case 3:
            askForInterface(*mFormats.Get());
            break;
        default:
            mFormats->Next(static_cast<ULONG>(mRandom.below(5)), formats, &count);
            EXPECT_LE(count, 4u);
    }
}

void RandomComCalls::callStream()
{
    IStream* const stream = anyStream();
    if (stream == nullptr)
        return;
    STATSTG statistics = {};
    ULARGE_INTEGER position = {};
    LARGE_INTEGER distance;
    distance.QuadPart = static_cast<LONGLONG>(mRandom.bits());
    switch (mRandom.below(12)) {
        case 0:
            stream->Stat(mRandom.oneIn(4) ? nullptr : &statistics, static_cast<DWORD>(mRandom.below(4)));
            break;
        case 1:
            stream->Seek(distance, static_cast<DWORD>(mRandom.below(5)), mRandom.oneIn(4) ? nullptr : &position);
            EXPECT_EQ(position.QuadPart, 0u);
            break;
        case 2:
        case 3:
            return callRareStreamOperation(*stream);
        case 4:
            askForInterface(*stream);
            return askForInterfaceNowhere(*stream);
        default:
            read(*stream);
    }
}

void RandomComCalls::callRareStreamOperation(IStream& stream)
{
    ULARGE_INTEGER number;
    number.QuadPart = mRandom.bits();
    ULARGE_INTEGER count = {};
    IStream* other = nullptr;
    IStream* const target = mRandom.oneIn(2) ? nullptr : &stream;
    EXPECT_EQ(stream.Write(mRandom.oneIn(4) ? nullptr : &number, sizeof number, nullptr), S_OK);
    EXPECT_EQ(stream.SetSize(number), E_NOTIMPL);
    EXPECT_EQ(stream.CopyTo(target, number, mRandom.oneIn(4) ? nullptr : &count, nullptr), E_NOTIMPL);
    EXPECT_EQ(stream.Commit(static_cast<DWORD>(mRandom.bits())), E_NOTIMPL);
    EXPECT_EQ(stream.Revert(), E_NOTIMPL);
    EXPECT_EQ(stream.LockRegion(number, number, 0), E_NOTIMPL);
    EXPECT_EQ(stream.UnlockRegion(number, number, 0), E_NOTIMPL);
    EXPECT_EQ(stream.Clone(mRandom.oneIn(4) ? nullptr : &other), E_NOTIMPL);
}

void RandomComCalls::read(IStream& stream)
{
    static constexpr ULONG kSizes[] = {0, 1, 7, 100, 4096, 1500000};
    const ULONG size = mRandom.pick(kSizes);
    std::string bytes(size + 1, '\0');
    ULONG count = 0xCCCCCCCC;
    if (mRandom.oneIn(20)) {
        EXPECT_EQ(stream.Read(nullptr, size, &count), STG_E_INVALIDPOINTER);
        EXPECT_EQ(stream.Read(bytes.data(), size, nullptr), STG_E_INVALIDPOINTER);
        return;
    }
    const HRESULT result = stream.Read(bytes.data(), size, &count);
    EXPECT_TRUE(result == S_OK || result == S_FALSE || result == STG_E_REVERTED) << std::hex << result;
    EXPECT_LE(count, size);
    EXPECT_EQ(bytes.back(), '\0');
}

void RandomComCalls::dropStream()
{
    if (!mStreams.empty())
        mStreams.erase(mStreams.begin() + static_cast<std::ptrdiff_t>(mRandom.below(mStreams.size())));
}

void RandomComCalls::letAllGo()
{
    mFormats.Reset();
    while (!mOffers.empty())
        dropOffer();
    mOldSinks.clear();
    std::sort(mStreams.begin(), mStreams.end(), [](const auto& a, const auto& b) { return a.Get() < b.Get(); });
    while (!mStreams.empty()) {
        IStream* const stream = mStreams.back().Detach();
        mStreams.pop_back();
        const bool isLast = mStreams.empty() || mStreams.back().Get() != stream;
        EXPECT_EQ(stream->Release() == 0, isLast);
    }
    RecordingLog::clear();
    Journal::shared().clear();
}
