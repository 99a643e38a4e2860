#include "sd/clip/clipboard_data.h"

#include <utility>

namespace sd::clip {

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

}  // namespace sd::clip
