// The stream through which slices are read.
#pragma once

#include <array>
#include <fstream>

namespace sd::clip {

// Comes before the stream among the bases, so that it outlives the stream.
struct SliceReadBuffer {
    // Applications read in pieces of 4 KiB and more. What is smaller than the buffer comes through it, since a call to
    // the platform costs more than copying some KiB; what is larger goes straight to the application. (The runtime
    // keeps one byte of it for itself.)
    std::array<char, 32768 + 1> mBytes;
};

// The runtime's own buffer is half a KiB.
class SliceReader final : private SliceReadBuffer, public std::ifstream {
public:
    SliceReader()
    {
        rdbuf()->pubsetbuf(mBytes.data(), static_cast<std::streamsize>(mBytes.size()));
    }
};

}  // namespace sd::clip
