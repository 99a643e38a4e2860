// Tells growth that goes on from what a process takes once and keeps.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

// What a process holds while nothing goes on in it.
struct Holdings {
    std::int64_t handles = 0;
    std::int64_t threads = 0;
    std::int64_t blocks = 0;     // of memory, of the program and the library
    std::int64_t kilobytes = 0;  // private to the process
};

struct Growth {
    std::string what;
    std::int64_t before = 0;
    std::int64_t after = 0;
    std::int64_t allowed = 0;

    bool isLeak() const
    {
        return after - before > allowed;
    }
};

// Compares the median of the last quarter of a run with that of its second quarter: in the first one OLE, the runtime
// and the caches warm up, and a median passes over a round in which some thread or block was late to go.
class LeakWatch {
public:
    void add(const Holdings& holdings);

    // For each kind; nothing while there are too few rounds to say anything.
    // @param allowed growth from the one median to the other
    std::vector<Growth> compare(const Holdings& allowed) const;

private:
    std::vector<Holdings> mRounds;
};
