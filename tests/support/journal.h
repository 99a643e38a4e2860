// What happened in which order, across threads: log lines, replaced platform calls and whatever a test adds.
#pragma once

#include <mutex>
#include <string>
#include <vector>

class Journal {
public:
    // The one journal that the recording log writes to.
    static Journal& shared();

    void add(std::string entry);
    void clear();
    std::vector<std::string> entries() const;

    // Position of the first entry that holds the text, or -1.
    int find(const std::string& text) const;

private:
    mutable std::mutex mMutex;
    std::vector<std::string> mEntries;
};
