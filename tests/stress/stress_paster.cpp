#include "stress_paster.h"

#include <ole2.h>
#include <shlobj.h>

#include <cstring>
#include <utility>

using Microsoft::WRL::ComPtr;

namespace {

constexpr std::size_t kMostLate = 4;
constexpr std::size_t kMostNever = 8;
constexpr LONG kWholeList = -1;

CLIPFORMAT formatOf(const wchar_t* name)
{
    return static_cast<CLIPFORMAT>(RegisterClipboardFormatW(name));
}

ComPtr<IDataObject> clipboardObject()
{
    ComPtr<IDataObject> data;
    OleGetClipboard(data.GetAddressOf());
    return data;
}

// As applications do, for whoever else may have the clipboard open just now.
HRESULT getPatiently(IDataObject& data, FORMATETC& format, STGMEDIUM& medium)
{
    constexpr int kAttempts = 100;
    constexpr DWORD kPause = 5;  // milliseconds
    HRESULT result = data.GetData(&format, &medium);
    for (int i = 1; i < kAttempts && result == CLIPBRD_E_CANT_OPEN; ++i) {
        Sleep(kPause);
        result = data.GetData(&format, &medium);
    }
    return result;
}

// The names and their sizes in the list's order; empty if it is refused.
std::vector<std::pair<std::wstring, std::uint64_t>> readDescriptor(IDataObject& data)
{
    std::vector<std::pair<std::wstring, std::uint64_t>> files;
    FORMATETC format = {formatOf(CFSTR_FILEDESCRIPTORW), nullptr, DVASPECT_CONTENT, kWholeList, TYMED_HGLOBAL};
    STGMEDIUM medium = {};
    if (getPatiently(data, format, medium) != S_OK)
        return files;
    if (auto* const group = static_cast<FILEGROUPDESCRIPTORW*>(GlobalLock(medium.hGlobal))) {
        for (UINT i = 0; i < group->cItems; ++i) {
            FILEDESCRIPTORW entry;
            std::memcpy(&entry, &group->fgd[i], sizeof entry);
            files.emplace_back(entry.cFileName, (std::uint64_t{entry.nFileSizeHigh} << 32) + entry.nFileSizeLow);
        }
        GlobalUnlock(medium.hGlobal);
    }
    ReleaseStgMedium(&medium);
    return files;
}

ComPtr<IStream> openContents(IDataObject& data, LONG index)
{
    ComPtr<IStream> stream;
    FORMATETC format = {formatOf(CFSTR_FILECONTENTS), nullptr, DVASPECT_CONTENT, index, TYMED_ISTREAM};
    STGMEDIUM medium = {};
    if (getPatiently(data, format, medium) != S_OK)
        return stream;
    stream = medium.pstm;
    ReleaseStgMedium(&medium);
    return stream;
}

// One read. Empty at the end and after a failure.
std::string readPiece(IStream& stream, std::size_t size)
{
    std::string bytes(size, '\0');
    ULONG count = 0;
    const HRESULT result = stream.Read(bytes.data(), static_cast<ULONG>(size), &count);
    bytes.resize(SUCCEEDED(result) ? count : 0);
    return bytes;
}

}  // namespace

StressPaster::StressPaster(std::uint64_t seed, std::function<void()> userCancelled)
    : mRandom(seed), mUserCancelled(std::move(userCancelled))
{
}

void StressPaster::pasteSomehow()
{
    const ComPtr<IDataObject> data = clipboardObject();
    if (!data)
        return;
    if (mRandom.oneIn(3))
        askForFormats(*data.Get());
    if (mRandom.oneIn(2))
        readDescriptor(*data.Get());
    for (std::size_t i = mRandom.below(4); i > 0; --i)
        pasteContents(*data.Get());
}

void StressPaster::askForFormats(IDataObject& data)
{
    FORMATETC format = {formatOf(L"AsyncFlag"), nullptr, DVASPECT_CONTENT, kWholeList, TYMED_HGLOBAL};
    data.QueryGetData(&format);
    STGMEDIUM medium = {};
    if (getPatiently(data, format, medium) == S_OK)
        ReleaseStgMedium(&medium);
    ComPtr<IEnumFORMATETC> formats;
    if (data.EnumFormatEtc(DATADIR_GET, formats.GetAddressOf()) != S_OK)
        return;
    while (formats->Next(1, &format, nullptr) == S_OK) {
    }
}

void StressPaster::pasteContents(IDataObject& data)
{
    const LONG index = mRandom.oneIn(8) ? static_cast<LONG>(mRandom.bits()) : static_cast<LONG>(mRandom.below(4));
    ComPtr<IStream> stream = openContents(data, index);
    if (!stream)
        return;
    ++mStreams;
    if (mRandom.oneIn(4))
        askStream(*stream.Get());
    if (!mRandom.oneIn(5))
        readSomehow(*stream.Get());
    keepOrRelease(std::move(stream));
}

void StressPaster::readSomehow(IStream& stream)
{
    static constexpr std::size_t kPieces[] = {1, 100, 4096, 65536, 1048576, 4000000};
    const std::size_t piece = mRandom.pick(kPieces);
    std::size_t left = mRandom.oneIn(3) ? mRandom.below(10) : static_cast<std::size_t>(-1);
    if (piece < 4096)
        left = mRandom.below(50);  // a call of each costs more than its bytes
    for (; left > 0; --left) {
        const std::string bytes = readPiece(stream, piece);
        mBytes += bytes.size();
        if (bytes.empty())
            return;
    }
    if (mRandom.oneIn(3))
        mUserCancelled();
}

void StressPaster::askStream(IStream& stream)
{
    STATSTG statistics = {};
    stream.Stat(&statistics, STATFLAG_NONAME);
    ULARGE_INTEGER position = {};
    LARGE_INTEGER distance;
    distance.QuadPart = static_cast<LONGLONG>(mRandom.bits());
    stream.Seek(distance, static_cast<DWORD>(mRandom.below(5)), &position);
    stream.Write(&statistics, sizeof statistics, nullptr);
}

void StressPaster::keepOrRelease(ComPtr<IStream> stream)
{
    if (mRandom.oneIn(4))
        mLate.push_back(std::move(stream));
    else if (mRandom.oneIn(8) && mNever.size() < kMostNever)
        mNever.push_back(std::move(stream));
    if (mLate.size() > kMostLate)
        mLate.erase(mLate.begin());
}

std::map<std::wstring, std::string> StressPaster::pasteAll()
{
    std::map<std::wstring, std::string> pasted;
    const ComPtr<IDataObject> data = clipboardObject();
    if (!data)
        return pasted;
    const auto files = readDescriptor(*data.Get());
    for (std::size_t i = 0; i < files.size(); ++i) {
        const ComPtr<IStream> stream = openContents(*data.Get(), static_cast<LONG>(i));
        if (!stream)
            break;
        std::string& bytes = pasted[files[i].first];
        for (std::string piece = readPiece(*stream.Get(), 65536); !piece.empty();
             piece = readPiece(*stream.Get(), 65536))
            bytes += piece;
    }
    return pasted;
}

void StressPaster::letGo()
{
    mLate.clear();
    mNever.clear();
}
