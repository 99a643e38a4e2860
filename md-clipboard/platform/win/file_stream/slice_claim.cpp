#include "file_stream/slice_claim.h"

#include <unordered_map>

namespace sd::clip {

namespace {

struct ClaimTable {
    Mutex mutex;
    std::unordered_map<std::string, SliceClaim*> holders CLIP_GUARDED_BY(mutex);
};

ClaimTable& claimTable()
{
    static auto& table = *new ClaimTable;  // never destroyed: records may outlive the statics of the process
    return table;
}

}  // namespace

SliceClaim::SliceClaim(std::uint64_t listNumber) : mListNumber(listNumber) {}

SliceClaim::~SliceClaim()
{
    ClaimTable& table = claimTable();
    const LockScope lock(table.mutex);
    for (const std::string& name : mNames) {
        const auto held = table.holders.find(name);
        if (held != table.holders.end() && held->second == this)
            table.holders.erase(held);
    }
}

bool SliceClaim::Take(const std::string& name)
{
    ClaimTable& table = claimTable();
    const LockScope lock(table.mutex);
    const auto held = table.holders.find(name);
    SliceClaim* const holder = held != table.holders.end() ? held->second : nullptr;
    if (holder == this)
        return true;
    if (holder != nullptr && holder->mListNumber > mListNumber) {
        mLost = true;
        return false;
    }
    mNames.push_back(name);
    table.holders[name] = this;
    if (holder != nullptr)
        holder->lose();
    return true;
}

// What is being written goes into the slice before the newer list opens it, and nothing goes there afterwards.
void SliceClaim::lose()
{
    mLost = true;
    const LockScope lock(mWriting);
}

std::uint64_t NextListNumber()
{
    static std::atomic<std::uint64_t> last{0};
    return ++last;
}

}  // namespace sd::clip
