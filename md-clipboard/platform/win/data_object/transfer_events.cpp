#include "data_object/transfer_events.h"

#include <string>

#include "clipboard_win/clipboard_impl.h"

namespace sd::clip {

void reportDownloadTimeout(std::int64_t fileSize, std::int64_t copiedSize)
{
    if (const auto engine = ClipboardImpl::instance()) {
        engine->notifyClipboardEvent(
            "transferFail", "downloadError", "file", fileSize,
            "transfer fail when downloadSize/fileSize:" + std::to_string(copiedSize) + "/" + std::to_string(fileSize),
            "error", "1502", "download timeout");
    }
}

}  // namespace sd::clip
