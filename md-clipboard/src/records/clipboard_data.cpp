#include "sd/clip/clipboard_data.h"

#include <iterator>
#include <utility>

namespace sd::clip {

ClipboardTextData::ClipboardTextData() = default;
ClipboardTextData::ClipboardTextData(const ClipboardTextData& other) = default;
ClipboardTextData& ClipboardTextData::operator=(const ClipboardTextData& other) = default;
ClipboardTextData::~ClipboardTextData() = default;

ClipboardTextDataImpl::ClipboardTextDataImpl() = default;
ClipboardTextDataImpl::ClipboardTextDataImpl(const ClipboardTextDataImpl& other) = default;
ClipboardTextDataImpl& ClipboardTextDataImpl::operator=(const ClipboardTextDataImpl& other) = default;
ClipboardTextDataImpl::~ClipboardTextDataImpl() = default;

ClipboardFormat ClipboardTextDataImpl::GetFormat()
{
    return ClipboardFormat::Text;
}

void ClipboardTextDataImpl::SetText(std::string text)
{
    mText = std::move(text);
}

std::string ClipboardTextDataImpl::GetText()
{
    return mText;
}

ClipboardImageData::ClipboardImageData() = default;
ClipboardImageData::ClipboardImageData(const ClipboardImageData& other) = default;
ClipboardImageData& ClipboardImageData::operator=(const ClipboardImageData& other) = default;
ClipboardImageData::~ClipboardImageData() = default;

ClipboardImageDataImpl::ClipboardImageDataImpl() = default;
ClipboardImageDataImpl::ClipboardImageDataImpl(const ClipboardImageDataImpl& other) = default;
ClipboardImageDataImpl& ClipboardImageDataImpl::operator=(const ClipboardImageDataImpl& other) = default;
ClipboardImageDataImpl::~ClipboardImageDataImpl() = default;

ClipboardFormat ClipboardImageDataImpl::GetFormat()
{
    return ClipboardFormat::Image;
}

void ClipboardImageDataImpl::SetImage(void* /*image*/) {}

void* ClipboardImageDataImpl::GetImage()
{
    return nullptr;
}

ClipboardRichtextData::ClipboardRichtextData() = default;
ClipboardRichtextData::ClipboardRichtextData(const ClipboardRichtextData& other) = default;
ClipboardRichtextData& ClipboardRichtextData::operator=(const ClipboardRichtextData& other) = default;
ClipboardRichtextData::~ClipboardRichtextData() = default;

std::shared_ptr<ClipboardRichtextData> ClipboardRichtextData::Create()
{
    return std::make_shared<ClipboardRichtextDataImpl>();
}

ClipboardRichtextDataImpl::ClipboardRichtextDataImpl() = default;
ClipboardRichtextDataImpl::ClipboardRichtextDataImpl(const ClipboardRichtextDataImpl& other) = default;
ClipboardRichtextDataImpl& ClipboardRichtextDataImpl::operator=(const ClipboardRichtextDataImpl& other) = default;
ClipboardRichtextDataImpl::~ClipboardRichtextDataImpl() = default;

ClipboardFormat ClipboardRichtextDataImpl::GetFormat()
{
    return ClipboardFormat::Richtext;
}

void ClipboardRichtextDataImpl::SetItems(std::vector<RichtextItem> items)
{
    mItems = std::move(items);
}

std::vector<RichtextItem> ClipboardRichtextDataImpl::GetItems()
{
    return mItems;
}

ClipfileDescription::ClipfileDescription() = default;
ClipfileDescription::ClipfileDescription(const ClipfileDescription& other) = default;
ClipfileDescription::ClipfileDescription(ClipfileDescription&& other) noexcept = default;
ClipfileDescription& ClipfileDescription::operator=(const ClipfileDescription& other) = default;
ClipfileDescription& ClipfileDescription::operator=(ClipfileDescription&& other) noexcept = default;
ClipfileDescription::~ClipfileDescription() = default;

ClipboardFileData::ClipboardFileData() = default;
ClipboardFileData::ClipboardFileData(const ClipboardFileData& other) = default;
ClipboardFileData& ClipboardFileData::operator=(const ClipboardFileData& other) = default;
ClipboardFileData::~ClipboardFileData() = default;

std::shared_ptr<ClipboardFileData> ClipboardFileData::Create()
{
    return std::make_shared<ClipboardFileDataImpl>();
}

void ClipboardFileData::SetOLEClipboardPasteFunc(OLEClipboardPasteFunc /*paste*/) {}

ClipboardFileDataEx::ClipboardFileDataEx() = default;
ClipboardFileDataEx::ClipboardFileDataEx(const ClipboardFileDataEx& other) = default;
ClipboardFileDataEx& ClipboardFileDataEx::operator=(const ClipboardFileDataEx& other) = default;
ClipboardFileDataEx::~ClipboardFileDataEx() = default;

std::shared_ptr<ClipboardFileDataEx> ClipboardFileDataEx::Create()
{
    return std::make_shared<ClipboardFileDataExImpl>();
}

ClipboardFileDataImpl::ClipboardFileDataImpl() = default;
ClipboardFileDataImpl::ClipboardFileDataImpl(const ClipboardFileDataImpl& other) = default;
ClipboardFileDataImpl& ClipboardFileDataImpl::operator=(const ClipboardFileDataImpl& other) = default;
ClipboardFileDataImpl::~ClipboardFileDataImpl() = default;

ClipboardFormat ClipboardFileDataImpl::GetFormat()
{
    return ClipboardFormat::File;
}

void ClipboardFileDataImpl::SetFiles(std::vector<ClipfileDescription> files)
{
    if (mFiles.empty()) {
        mFiles = std::move(files);  // a long list needs no second vector for a moment
        return;
    }
    mFiles.insert(mFiles.end(), std::make_move_iterator(files.begin()), std::make_move_iterator(files.end()));
}

std::vector<ClipfileDescription>& ClipboardFileDataImpl::GetFiles()
{
    return mFiles;
}

bool ClipboardFileDataImpl::SetFileFuncs(FileRequestFunc request, FileCancelFunc cancel)
{
    mFileRequestFunc = std::move(request);
    mFileCancelFunc = std::move(cancel);
    return true;
}

void ClipboardFileDataImpl::SetOLEClipboardPasteFunc(OLEClipboardPasteFunc paste)
{
    mOLEClipboardPasteFunc = std::move(paste);
}

FileRequestFunc ClipboardFileDataImpl::GetFileRequestFunc()
{
    return mFileRequestFunc;
}

void ClipboardFileDataImpl::SetTargetClipboardData(std::shared_ptr<ClipboardFileData> /*target*/) {}

std::shared_ptr<ClipboardFileData> ClipboardFileDataImpl::GetTargetClipboardData()
{
    return nullptr;
}

void ClipboardFileDataImpl::SetFileLazyRenderingCallback(FileLazyRenderingCallback /*callback*/) {}

FileCancelFunc ClipboardFileDataImpl::GetFileCancelFunc()
{
    return mFileCancelFunc;
}

OLEClipboardPasteFunc ClipboardFileDataImpl::GetOLEClipboardPasteFunc() const
{
    return mOLEClipboardPasteFunc;
}

std::uint64_t ClipboardFileDataImpl::GetTransferredSize() const
{
    return mTransferredSize;
}

void ClipboardFileDataImpl::SetTransferredSize(std::uint64_t size)
{
    mTransferredSize = size;
}

ClipboardFileDataExImpl::ClipboardFileDataExImpl() = default;
ClipboardFileDataExImpl::~ClipboardFileDataExImpl() = default;

// The target is taken whole, here and below: the library replaces that of an armed record at every landing.
ClipboardFileDataExImpl::ClipboardFileDataExImpl(const ClipboardFileDataExImpl& other)
    : ClipboardFileDataImpl(other),
      mTargetData(std::atomic_load(&other.mTargetData)),
      mFileLazyRenderingCallback(other.mFileLazyRenderingCallback)
{
}

ClipboardFileDataExImpl& ClipboardFileDataExImpl::operator=(const ClipboardFileDataExImpl& other)
{
    if (this == &other)
        return *this;  // or a landing that comes meanwhile is undone
    ClipboardFileDataImpl::operator=(other);
    std::atomic_store(&mTargetData, std::atomic_load(&other.mTargetData));
    mFileLazyRenderingCallback = other.mFileLazyRenderingCallback;
    return *this;
}

void ClipboardFileDataExImpl::SetTargetClipboardData(std::shared_ptr<ClipboardFileData> target)
{
    // Whole for a host that reads it meanwhile: a second landing replaces the target of the first.
    std::atomic_store(&mTargetData, std::move(target));
}

std::shared_ptr<ClipboardFileData> ClipboardFileDataExImpl::GetTargetClipboardData()
{
    return std::atomic_load(&mTargetData);
}

void ClipboardFileDataExImpl::SetFileLazyRenderingCallback(FileLazyRenderingCallback callback)
{
    mFileLazyRenderingCallback = std::move(callback);
}

FileLazyRenderingCallback ClipboardFileDataExImpl::GetFileLazyRenderingCallback() const
{
    return mFileLazyRenderingCallback;
}

}  // namespace sd::clip
