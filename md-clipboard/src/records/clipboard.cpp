#include "sd/clip/clipboard.h"

namespace sd::clip {

ClipboardData::ClipboardData() = default;
ClipboardData::ClipboardData(const ClipboardData& other) = default;
ClipboardData& ClipboardData::operator=(const ClipboardData& other) = default;
ClipboardData::~ClipboardData() = default;

ClipboardListener::ClipboardListener() = default;
ClipboardListener::ClipboardListener(const ClipboardListener& other) = default;
ClipboardListener& ClipboardListener::operator=(const ClipboardListener& other) = default;
ClipboardListener::~ClipboardListener() = default;

Clipboard::Clipboard() = default;
Clipboard::Clipboard(const Clipboard& other) = default;
Clipboard& Clipboard::operator=(const Clipboard& other) = default;
Clipboard::~Clipboard() = default;

}  // namespace sd::clip
