#include "sd/clip/clipboard_data.h"

namespace sd::clip {

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

}  // namespace sd::clip
