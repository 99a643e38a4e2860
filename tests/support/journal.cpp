#include "support/journal.h"

#include <utility>

Journal& Journal::shared()
{
    static auto& journal = *new Journal;  // never destroyed: detached threads may write until the process ends
    return journal;
}

void Journal::add(std::string entry)
{
    std::lock_guard<std::mutex> lock(mMutex);
    mEntries.push_back(std::move(entry));
}

void Journal::clear()
{
    std::lock_guard<std::mutex> lock(mMutex);
    mEntries.clear();
}

std::vector<std::string> Journal::entries() const
{
    std::lock_guard<std::mutex> lock(mMutex);
    return mEntries;
}

int Journal::find(const std::string& text) const
{
    std::lock_guard<std::mutex> lock(mMutex);
    for (std::size_t i = 0; i < mEntries.size(); ++i) {
        if (mEntries[i].find(text) != std::string::npos)
            return static_cast<int>(i);
    }
    return -1;
}
