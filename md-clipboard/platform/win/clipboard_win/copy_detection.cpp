// What a clipboard change means for the guest. Reads no clipboard contents: the host fetches those afterwards.
#include <algorithm>
#include <utility>

#include "base/log.h"
#include "clipboard_win/clipboard_impl.h"
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

// On a tie the enumerated list wins.
std::vector<UINT> offeredFormats()
{
    std::vector<UINT> enumerated = enumerateFormats();
    UpdatedFormats updated = updatedFormats();
    return enumerated.size() < updated.count ? std::move(updated.formats) : std::move(enumerated);
}

}  // namespace

void ClipboardImpl::onDetectCopy(HWND /*window*/, unsigned long long /*wParam*/, long long /*lParam*/)
{
    if (mFileLazyRenderer.ConsumeCopy()) {
        CLIP_LOG(kLogInfo, "File clipboard lazy renderer is ready, skip onDetectCopy");
        return;
    }

    if (mNoted.isDataTransfering()) {
        CLIP_LOG(kLogError, "not support onDetectCopy when file is transferring");
        RaiseCopyDuringTransfer(*this);
        return;
    }

    const std::vector<UINT> platformFormats = offeredFormats();
    std::vector<ClipboardFormat> formats;
    for (const UINT platformFormat : platformFormats) {
        const ClipboardFormat format = clipFormatFromPlatform(platformFormat);
        if (format == ClipboardFormat())
            continue;
        if (format == ClipboardFormat::File && !passesFileGates(platformFormats))
            continue;
        CLIP_LOG(kLogInfo, "Add clipformat:%d, cfformat:%d", static_cast<int>(format),
                 static_cast<int>(platformFormat));
        formats.push_back(format);
    }

    if (const auto current = listener())
        current->OnClipboardFormats(formats);
}

// The first library format, in their order, that the platform format stands for; 0 if none does.
ClipboardFormat ClipboardImpl::clipFormatFromPlatform(UINT platformFormat)
{
    LockScope lock(mStateMutex);
    for (const auto& [format, mapped] : mFormatMap) {
        if (mapped == platformFormat)
            return format;
    }
    return ClipboardFormat();
}

// Programs that copy a picture often offer it as a file too; the picture is what the user meant, and pictures are not
// this library's. Only CF_BITMAP counts, other forms of a picture do not.
bool ClipboardImpl::passesFileGates(const std::vector<UINT>& platformFormats)
{
    if (!mFileClipboardSupported) {
        CLIP_LOG(kLogInfo, "Qsp file clipboard disabled");
        RaiseCopyUnsupported(*this);
        return false;
    }
    if (std::find(platformFormats.begin(), platformFormats.end(), CF_BITMAP) != platformFormats.end()) {
        CLIP_LOG(kLogInfo, "Qsp file clipboard ignore when pic copy at same time");
        RaiseCopyWithPicture(*this);
        return false;
    }
    return true;
}

}  // namespace sd::clip
