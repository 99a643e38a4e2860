// The lists whose slices some application may still read, so that a cleaning of the cache spares these slices.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string_view>

#include "base/annotated_mutex.h"
#include "data_object/slice_path.h"

namespace sd::clip {

class FileRequest;

// A list stands while its data object lives: on the clipboard, or in the hands of an application. Slices of a list
// whose object is gone are read by nobody: its streams say so.
//
// Threads: any. Its lock is a leaf: nothing is called while it is held.
class StandingLists {
public:
    // The one of the process. Never destroyed.
    static StandingLists& Instance();

    void Add(const std::shared_ptr<FileRequest>& request);
    void Remove(const FileRequest& request);

    // @param fileName of a file in the cache directory, as the platform lists it
    // @return whether the file is named like a slice of a list that stands
    bool OwnSlice(std::wstring_view fileName) const;

private:
    bool isOwned(const SliceDigest& digest, std::uint64_t& generation) const;

    mutable Mutex mMutex;
    std::map<const FileRequest*, std::weak_ptr<FileRequest>> mRequests CLIP_GUARDED_BY(mMutex);
    std::uint64_t mGeneration CLIP_GUARDED_BY(mMutex) = 0;  // goes up with each list that is added
};

}  // namespace sd::clip
