#include "data_object/standing_lists.h"

#include <algorithm>
#include <vector>

#include "data_object/file_request.h"

namespace sd::clip {

StandingLists& StandingLists::Instance()
{
    static auto& lists = *new StandingLists;
    return lists;
}

void StandingLists::Add(const std::shared_ptr<FileRequest>& request)
{
    const LockScope lock(mMutex);
    mRequests[request.get()] = request;
    ++mGeneration;
}

void StandingLists::Remove(const FileRequest& request)
{
    const LockScope lock(mMutex);
    mRequests.erase(&request);
}

bool StandingLists::OwnSlice(std::wstring_view fileName) const
{
    const auto digest = ParseSliceName(fileName);
    if (!digest)
        return false;
    for (;;) {
        std::uint64_t asked = 0;
        if (isOwned(*digest, asked))
            return true;
        // The first look at a long list takes its time, and another list may have come meanwhile.
        const LockScope lock(mMutex);
        if (asked == mGeneration)
            return false;
    }
}

// Asks without the lock. This may be the last to hold a request, too.
// @param generation receives that of the lists which were asked
bool StandingLists::isOwned(const SliceDigest& digest, std::uint64_t& generation) const
{
    std::vector<std::shared_ptr<FileRequest>> requests;
    {
        const LockScope lock(mMutex);
        generation = mGeneration;
        for (const auto& [address, request] : mRequests) {
            if (auto held = request.lock())
                requests.push_back(std::move(held));
        }
    }
    return std::any_of(requests.begin(), requests.end(),
                       [&](const auto& request) { return request->OwnsSlices(digest); });
}

}  // namespace sd::clip
