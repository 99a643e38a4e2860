#include "sd/clip/clipboard_data.h"

#include <utility>

namespace sd::clip {

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
