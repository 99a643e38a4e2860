#include "clipboard_win/format_map.h"

namespace sd::clip {

namespace {

struct FormatRow {
    ClipboardFormat format;
    UINT platformFormat;
};

// What the library reports and reads. Files alone: this is a bridge for files.
constexpr FormatRow kFormatTable[] = {
    {ClipboardFormat::File, CF_HDROP},
};

}  // namespace

FormatMap::FormatMap()
{
    for (const FormatRow& row : kFormatTable)
        mFormatMap.emplace(row.format, row.platformFormat);
}

UINT FormatMap::toPlatform(ClipboardFormat format)
{
    LockScope lock(mMutex);
    return mFormatMap[format];
}

ClipboardFormat FormatMap::fromPlatform(UINT platformFormat) const
{
    LockScope lock(mMutex);
    for (const auto& [format, mapped] : mFormatMap) {
        if (mapped == platformFormat)
            return format;
    }
    return ClipboardFormat();
}

}  // namespace sd::clip
