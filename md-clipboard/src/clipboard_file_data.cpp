#include "sd/clip/clipboard_data.h"

namespace sd::clip {

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

}  // namespace sd::clip
