#include "clipboard_win/offered_formats.h"

#include <algorithm>

#include "base/log.h"
#include "support/clipboard_events.h"

namespace sd::clip {

namespace {

constexpr UINT kMostUpdatedFormats = 100;

// Without opening the clipboard, on purpose: on a clipboard that this thread has not opened the system answers 0 at
// once, and the updated formats are what counts. Opening it here would get in the way of the program that copies.
std::vector<UINT> enumerateFormats()
{
    std::vector<UINT> formats;
    for (UINT format = EnumClipboardFormats(0); format != 0; format = EnumClipboardFormats(format))
        formats.push_back(format);
    return formats;
}

struct UpdatedFormats {
    std::vector<UINT> formats;  // at most kMostUpdatedFormats
    UINT count = 0;             // as the platform counts them
};

UpdatedFormats updatedFormats()
{
    UINT buffer[kMostUpdatedFormats] = {};
    UpdatedFormats updated;
    if (!GetUpdatedClipboardFormats(buffer, kMostUpdatedFormats, &updated.count)) {
        CLIP_LOG(kLogError, "GetUpdatedClipboardFormats return error, error code %d", static_cast<int>(GetLastError()));
        updated.count = 0;
    }
    updated.formats.assign(buffer, buffer + std::min(updated.count, kMostUpdatedFormats));
    return updated;
}

}  // namespace

// On a tie the enumerated list wins.
OfferedFormats OfferedFormats::Read()
{
    std::vector<UINT> enumerated = enumerateFormats();
    UpdatedFormats updated = updatedFormats();
    return OfferedFormats(enumerated.size() < updated.count ? std::move(updated.formats) : std::move(enumerated));
}

std::vector<ClipboardFormat> OfferedFormats::forGuest(const Lookup& lookup, const std::atomic<bool>& filesSupported,
                                                      ClipboardEngine& engine) const
{
    std::vector<ClipboardFormat> formats;
    for (const UINT platformFormat : mFormats) {
        const ClipboardFormat format = lookup(platformFormat);
        if (format == ClipboardFormat())
            continue;
        if (format == ClipboardFormat::File && !passesFileGates(filesSupported, engine))
            continue;
        CLIP_LOG(kLogInfo, "Add clipformat:%d, cfformat:%d", static_cast<int>(format),
                 static_cast<int>(platformFormat));
        formats.push_back(format);
    }
    return formats;
}

// Programs that copy a picture often offer it as a file too; the picture is what the user meant, and pictures are not
// this library's. Only CF_BITMAP counts, other forms of a picture do not.
bool OfferedFormats::passesFileGates(const std::atomic<bool>& filesSupported, ClipboardEngine& engine) const
{
    if (!filesSupported) {
        CLIP_LOG(kLogInfo, "Qsp file clipboard disabled");
        RaiseCopyUnsupported(engine);
        return false;
    }
    if (std::find(mFormats.begin(), mFormats.end(), CF_BITMAP) != mFormats.end()) {
        CLIP_LOG(kLogInfo, "Qsp file clipboard ignore when pic copy at same time");
        RaiseCopyWithPicture(engine);
        return false;
    }
    return true;
}

}  // namespace sd::clip
