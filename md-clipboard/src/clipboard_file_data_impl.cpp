#include "sd/clip/clipboard_data.h"

#include <iterator>
#include <utility>

namespace sd::clip {

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

}  // namespace sd::clip
