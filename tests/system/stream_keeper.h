// Another application that keeps the stream of the first file: it reads a piece, and goes on when it is told to. It may
// let the data object go meanwhile.
#pragma once

#include <windows.h>

#include <string>

#include "support/child_process.h"

// Plays in a role of this program. One at a time.
class StreamKeeper {
public:
    enum class Object { kKept, kLetGo };

    // @param firstPiece bytes that it reads before it says that it has begun
    StreamKeeper(Object object, std::size_t firstPiece);
    ~StreamKeeper();
    StreamKeeper(const StreamKeeper&) = delete;
    StreamKeeper& operator=(const StreamKeeper&) = delete;

    // Until it has the stream and its first piece, and has let the data object go if it is to.
    bool waitUntilItHasBegun() const;

    // Has it read to the end, or to the first failure.
    void readOn();

    // @return what it has read in all and its last result, as describeReading has them; empty if it does not end
    std::string waitForReading() const;

    // Has it release the stream and end. @return whether it did so
    bool release();

    static std::string describeReading(const std::string& bytes, HRESULT lastResult);

private:
    const HANDLE mReadOn;
    const HANDLE mRelease;
    ChildProcess mChild;
};
