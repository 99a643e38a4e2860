// By which a working paste is told from an abandoned one: when, in this process, a pasting application last read.
#pragma once

#include <atomic>
#include <cstdint>

namespace sd::clip {

enum class ReadState : std::int32_t {
    kNeverRead = 0,
    kInRead = 1,        // inside FileStream::Read, however long it waits there
    kBetweenReads = 2,  // the application has its bytes and may or may not come back
};

// They belong to no stream: whichever stream was read last has written them.
extern std::atomic<std::int64_t> gLastReadTime;  // seconds since 1 January 1970 UTC; 0 until the first activity
extern std::atomic<ReadState> gReadState;        // written by FileStream::Read only

// Sets gLastReadTime to the present time.
void noteReadActivity();

// Whether a reader has been silent for so long that its user must have stopped the paste.
// Threads: any.
bool IsClipboardReadStalled();

}  // namespace sd::clip
