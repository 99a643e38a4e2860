// Where slices and placeholders lie.
#pragma once

#include <string>

#include "base/annotated_mutex.h"

namespace sd::clip {

// The directory is the process's, not the engine's. Threads: any, at once.
class CacheDirectory {
public:
    // The one of the process. Never destroyed: threads read it until the process ends.
    static CacheDirectory& Instance();

    CacheDirectory() = default;
    CacheDirectory(const CacheDirectory&) = delete;
    CacheDirectory& operator=(const CacheDirectory&) = delete;

    // @param path as the host gave it
    void set(const std::string& path);

    // @return as it was set; empty before
    std::string path() const;

private:
    std::string mPath CLIP_GUARDED_BY(mMutex);
    mutable Mutex mMutex;  // a leaf
};

}  // namespace sd::clip
