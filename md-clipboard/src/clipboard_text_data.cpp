#include "sd/clip/clipboard_data.h"

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

}  // namespace sd::clip
