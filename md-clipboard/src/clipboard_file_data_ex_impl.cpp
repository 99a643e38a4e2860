#include "sd/clip/clipboard_data.h"

#include <utility>

namespace sd::clip {

ClipboardFileDataExImpl::ClipboardFileDataExImpl() = default;
ClipboardFileDataExImpl::ClipboardFileDataExImpl(const ClipboardFileDataExImpl& other) = default;
ClipboardFileDataExImpl& ClipboardFileDataExImpl::operator=(const ClipboardFileDataExImpl& other) = default;
ClipboardFileDataExImpl::~ClipboardFileDataExImpl() = default;

void ClipboardFileDataExImpl::SetTargetClipboardData(std::shared_ptr<ClipboardFileData> target)
{
    mTargetData = std::move(target);
}

std::shared_ptr<ClipboardFileData> ClipboardFileDataExImpl::GetTargetClipboardData()
{
    return mTargetData;
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
