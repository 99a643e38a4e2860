#include "sd/clip/clipboard_data.h"

#include <utility>

namespace sd::clip {

ClipboardFileDataExImpl::ClipboardFileDataExImpl() = default;
ClipboardFileDataExImpl::ClipboardFileDataExImpl(const ClipboardFileDataExImpl& other) = default;
ClipboardFileDataExImpl& ClipboardFileDataExImpl::operator=(const ClipboardFileDataExImpl& other) = default;
ClipboardFileDataExImpl::~ClipboardFileDataExImpl() = default;

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
