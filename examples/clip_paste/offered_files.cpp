#include "offered_files.h"

#include <ole2.h>
#include <shlobj.h>

#include <cstddef>
#include <cstdio>
#include <stdexcept>

using Microsoft::WRL::ComPtr;

namespace {

/// What GetData gave. Its destructor gives it back.
class Medium {
public:
    Medium() = default;
    Medium(const Medium&) = delete;
    Medium& operator=(const Medium&) = delete;
    ~Medium()
    {
        ReleaseStgMedium(&mMedium);
    }
    STGMEDIUM* receive()
    {
        return &mMedium;
    }
    const STGMEDIUM& get() const
    {
        return mMedium;
    }

private:
    STGMEDIUM mMedium{};
};

/// The bytes of a memory block, for one scope.
class LockedBlock {
public:
    explicit LockedBlock(HGLOBAL block) : mBlock(block), mBytes(GlobalLock(block)), mSize(GlobalSize(block))
    {
        if (mBytes == nullptr)
            throw std::runtime_error("the list cannot be read");
    }
    LockedBlock(const LockedBlock&) = delete;
    LockedBlock& operator=(const LockedBlock&) = delete;
    ~LockedBlock()
    {
        GlobalUnlock(mBlock);
    }
    template <class T>
    const T* as() const
    {
        return static_cast<const T*>(mBytes);
    }
    std::size_t size() const
    {
        return mSize;
    }

private:
    HGLOBAL mBlock;
    void* mBytes;
    std::size_t mSize;
};

/// @param index position in the list; -1 for what belongs to all of it
FORMATETC makeFormat(const wchar_t* name, LONG index, DWORD medium)
{
    const auto format = static_cast<CLIPFORMAT>(RegisterClipboardFormatW(name));
    return {format, nullptr, DVASPECT_CONTENT, index, medium};
}

OfferedFile readEntry(const FILEDESCRIPTORW& entry)
{
    OfferedFile file;
    // A name that fills the field has no terminator.
    file.name.assign(entry.cFileName, wcsnlen(entry.cFileName, std::size(entry.cFileName)));
    file.directory = (entry.dwFlags & FD_ATTRIBUTES) != 0 && (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    if ((entry.dwFlags & FD_FILESIZE) != 0)
        file.size = (std::uint64_t{entry.nFileSizeHigh} << 32) | entry.nFileSizeLow;
    return file;
}

std::vector<OfferedFile> readList(const LockedBlock& block)
{
    constexpr std::size_t kHeader = offsetof(FILEGROUPDESCRIPTORW, fgd);
    if (block.size() < kHeader)
        throw std::runtime_error("the list is cut off");
    const auto* list = block.as<FILEGROUPDESCRIPTORW>();
    // The count is another program's word; the size of the block is the system's.
    if (list->cItems > (block.size() - kHeader) / sizeof(FILEDESCRIPTORW))
        throw std::runtime_error("the list is cut off");
    std::vector<OfferedFile> files;
    files.reserve(list->cItems);
    for (UINT i = 0; i < list->cItems; ++i)
        files.push_back(readEntry(list->fgd[i]));
    return files;
}

bool isBusy(HRESULT result)
{
    return result == CLIPBRD_E_CANT_OPEN || result == CLIPBRD_E_CANT_CLOSE;
}

/// Programs open the clipboard for a moment now and then, and OLE opens it behind many of its calls.
/// @return what the call gave in the end
template <class Call>
HRESULT callWhileBusy(const Call& call)
{
    constexpr DWORD kPauseMilliseconds = 10;
    constexpr ULONGLONG kPatienceMilliseconds = 2000;
    const ULONGLONG end = GetTickCount64() + kPatienceMilliseconds;
    HRESULT result = call();
    while (isBusy(result) && GetTickCount64() < end) {
        Sleep(kPauseMilliseconds);
        result = call();
    }
    return result;
}

/// Under Wine another program that opens the clipboard takes it over in the middle of the question, and the answer is
/// no. So it is asked some times more.
bool isOffered(IDataObject& data, FORMATETC format)
{
    constexpr int kMostQuestions = 10;
    constexpr DWORD kPauseMilliseconds = 30;
    for (int question = 1;; ++question) {
        if (callWhileBusy([&] { return data.QueryGetData(&format); }) == S_OK)
            return true;
        if (question == kMostQuestions)
            return false;
        Sleep(kPauseMilliseconds);
    }
}

/// @param medium new; a call that failed leaves nothing in it
HRESULT getData(IDataObject& data, FORMATETC format, Medium& medium)
{
    return callWhileBusy([&] { return data.GetData(&format, medium.receive()); });
}

}  // namespace

std::string describeFailure(const std::string& call, HRESULT result)
{
    char text[16];
    std::snprintf(text, sizeof text, "0x%08lX", static_cast<unsigned long>(result));
    return call + " gives " + text;
}

OfferedFiles::OfferedFiles()
{
    const HRESULT taken = callWhileBusy([this] { return OleGetClipboard(mData.ReleaseAndGetAddressOf()); });
    if (FAILED(taken))
        throw std::runtime_error(describeFailure("OleGetClipboard", taken));
    const FORMATETC descriptor = makeFormat(CFSTR_FILEDESCRIPTORW, -1, TYMED_HGLOBAL);
    const FORMATETC contents = makeFormat(CFSTR_FILECONTENTS, -1, TYMED_ISTREAM);
    if (!isOffered(*mData.Get(), descriptor) || !isOffered(*mData.Get(), contents))
        throw std::runtime_error("the clipboard holds no files that can be pasted as streams");
    Medium medium;
    const HRESULT given = getData(*mData.Get(), descriptor, medium);
    if (FAILED(given) || medium.get().tymed != TYMED_HGLOBAL)
        throw std::runtime_error(describeFailure("asking for the list", given));
    mFiles = readList(LockedBlock(medium.get().hGlobal));
}

ComPtr<IStream> OfferedFiles::openContents(std::size_t index) const
{
    const FORMATETC format = makeFormat(CFSTR_FILECONTENTS, static_cast<LONG>(index), TYMED_ISTREAM);
    Medium medium;
    const HRESULT given = getData(*mData.Get(), format, medium);
    if (FAILED(given) || medium.get().tymed != TYMED_ISTREAM || medium.get().pstm == nullptr)
        throw std::runtime_error(describeFailure("asking for the contents", given));
    return medium.get().pstm;
}
