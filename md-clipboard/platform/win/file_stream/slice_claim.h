// Which of the process's records writes the slices of one name.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

#include "base/annotated_mutex.h"

namespace sd::clip {

// A slice's name depends on the relative name of its file alone, so two lists with a file of one name mean the same
// slices. The list that came last has them: the record of an older list writes no byte into them from then on, and
// knows that what it reads there may be another list's.
//
// Threads: any. Lock order: the lock of the table, then mWriting of the claim that loses. No other lock is taken under
// either.
class SliceClaim {
public:
    // @param listNumber of the record's list; a later list has a larger number
    explicit SliceClaim(std::uint64_t listNumber);
    ~SliceClaim();
    SliceClaim(const SliceClaim&) = delete;
    SliceClaim& operator=(const SliceClaim&) = delete;

    // To be called before a slice is opened for writing. Waits for a record of an older list that is just writing.
    // @param name path of the file's slices, without their index
    // @return false if a newer list has the name: this claim is lost then
    bool Take(const std::string& name);

    // Whether a newer list has taken one of the names. Not undone.
    bool IsLost() const
    {
        return mLost;
    }

    // Held by the writer while it opens or writes a slice, after a look at IsLost under it. Take must not be called
    // under it.
    Mutex& WritingMutex()
    {
        return mWriting;
    }

private:
    void lose();

    const std::uint64_t mListNumber;
    std::atomic<bool> mLost{false};
    std::vector<std::string> mNames CLIP_UNGUARDED("the writer's alone, and the destructor's");
    Mutex mWriting;
};

// @return a number that is larger than all before
std::uint64_t NextListNumber();

}  // namespace sd::clip
