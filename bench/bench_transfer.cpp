#include "bench_transfer.h"

#include <ole2.h>

#include <stdexcept>
#include <utility>

#include "clipboard_win/clipboard_impl.h"
#include "data_object/slice_path.h"
#include "file_utilities/encoding.h"

using namespace sd::clip;

namespace {

CLIPFORMAT registerFormat(const wchar_t* name)
{
    return static_cast<CLIPFORMAT>(RegisterClipboardFormatW(name));
}

}  // namespace

std::vector<ClipfileDescription> makeGuestFiles(std::size_t count, std::uint64_t size)
{
    std::vector<ClipfileDescription> files(count);
    for (std::size_t i = 0; i < count; ++i) {
        files[i].relativePath = "folder";
        files[i].fileName = "document-" + std::to_string(i + 1) + ".txt";
        files[i].attributes = FILE_ATTRIBUTE_ARCHIVE;
        files[i].size = size;
    }
    return files;
}

std::shared_ptr<ClipboardFileDataImpl> makeGuestList(std::size_t count, std::uint64_t size)
{
    auto record = std::make_shared<ClipboardFileDataImpl>();
    record->SetFiles(makeGuestFiles(count, size));
    record->SetFileFuncs([](const ClipfileDescription&, const FileDataRequestCallback&) { return std::string(); },
                         [](const ClipfileDescription&) {});
    return record;
}

void readWhole(IStream& stream, std::vector<unsigned char>& buffer)
{
    ULONG count = 0;
    stream.Read(buffer.data(), static_cast<ULONG>(buffer.size()), &count);
    if (count != buffer.size())
        throw std::runtime_error("bytes are missing");
}

BenchTransfer::BenchTransfer(std::vector<ClipfileDescription> files, std::string cacheDirectory)
    : mDescriptorFormat(registerFormat(L"FileGroupDescriptorW")),
      mContentsFormat(registerFormat(L"FileContents")),
      mCacheDirectory(std::move(cacheDirectory)),
      mFiles(std::move(files))
{
    const auto record = std::make_shared<ClipboardFileDataImpl>();
    record->SetFiles(mFiles);
    record->SetFileFuncs(
        [this](const ClipfileDescription&, FileDataRequestCallback sink) {
            mSink = std::move(sink);
            return std::string();
        },
        [](const ClipfileDescription&) {});
    ClipboardImpl::instance()->InitFileLazyRenderer(mCacheDirectory);
    *mObject.GetAddressOf() = new ClipDataObject;  // not by Attach, which one toolchain lets take another reference
    if (mObject->DataObjectInit() < 0)
        throw std::runtime_error("this thread can't join OLE");
    mObject->SetClipboardData(record);
}

BenchTransfer::~BenchTransfer() = default;

void BenchTransfer::request()
{
    bool rejected = false;
    if (!mObject->startRequestFileData(mFiles.front(), rejected))
        throw std::runtime_error("the files are not requested");
}

void BenchTransfer::deliver(std::size_t index, unsigned char* bytes, std::size_t size) const
{
    mSink(mFiles[index], bytes, size);
}

Microsoft::WRL::ComPtr<IStream> BenchTransfer::open(std::size_t index) const
{
    STGMEDIUM medium;
    getData(mContentsFormat, static_cast<LONG>(index), TYMED_ISTREAM, medium);
    Microsoft::WRL::ComPtr<IStream> stream = medium.pstm;
    ReleaseStgMedium(&medium);
    return stream;
}

void BenchTransfer::renderDescriptor() const
{
    STGMEDIUM medium;
    getData(mDescriptorFormat, -1, TYMED_HGLOBAL, medium);
    ReleaseStgMedium(&medium);
}

void BenchTransfer::getData(CLIPFORMAT format, LONG index, DWORD kind, STGMEDIUM& medium) const
{
    FORMATETC asked = {format, nullptr, DVASPECT_CONTENT, index, kind};
    if (mObject->GetData(&asked, &medium) != S_OK)
        throw std::runtime_error("the data object refuses");
}

void BenchTransfer::checkFinished() const
{
    if (mObject->GetRequestFileState() != RequestFileState::kRequestFinished)
        throw std::runtime_error("the transfer did not finish");
}

std::wstring BenchTransfer::slicePath(std::size_t index, std::int32_t slice) const
{
    return Utf8ToWide(MakeSlicePath(mCacheDirectory, MakeFileKey(mFiles[index]), slice));
}
