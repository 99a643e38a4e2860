#include "clipboard_win/received_list.h"

#include <optional>

#include "base/log.h"

namespace sd::clip {

ReceivedList::ReceivedList(ClipboardData* data) : mFiles(dynamic_cast<ClipboardFileData*>(data)) {}

std::int64_t ReceivedList::count() const
{
    return mFiles != nullptr ? static_cast<std::int64_t>(mFiles->GetFiles().size()) : 0;
}

bool ReceivedList::isRefused(PasteRoute route) const
{
    const auto refused = mFiles != nullptr ? FindRefusedEntry(mFiles->GetFiles(), route) : std::nullopt;
    if (refused)
        CLIP_LOG(kLogError, "Refuse guest file list, entry %lld: %s", static_cast<long long>(refused->position),
                 refused->reason);
    return refused.has_value();
}

}  // namespace sd::clip
