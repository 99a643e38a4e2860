// Which platform format stands for which format of the library.
#pragma once

#include <windows.h>

#include <map>

#include "base/annotated_mutex.h"
#include "sd/clip/clipboard.h"

namespace sd::clip {

// Threads: any, at once.
class FormatMap {
public:
    // With what the library reports and reads.
    FormatMap();
    FormatMap(const FormatMap&) = delete;
    FormatMap& operator=(const FormatMap&) = delete;

    // @return 0 for an unknown format, which stays in the map with 0: nothing reports that
    UINT toPlatform(ClipboardFormat format);

    // @return the first library format, in their order, that the platform format stands for; 0 if none does
    ClipboardFormat fromPlatform(UINT platformFormat) const;

private:
    friend class TestAccess;

    std::map<ClipboardFormat, UINT> mFormatMap CLIP_GUARDED_BY(mMutex);
    mutable Mutex mMutex;  // a leaf
};

}  // namespace sd::clip
