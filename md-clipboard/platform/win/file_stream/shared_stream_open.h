// How both sides of a slice open it.
#pragma once

#include <ios>

#if defined(_MSC_VER)
#include <share.h>
#endif

namespace sd::clip {

// Opens a file stream so that others may read and write the file at the same time. Binary: the bytes are the guest's.
// @param path narrow, or wide where the streams take wide paths
// @param direction std::ios_base::in or std::ios_base::out; out empties a file that is there
template <class Stream, class Character>
void openShared(Stream& stream, const Character* path, std::ios_base::openmode direction)
{
    const std::ios_base::openmode mode = direction | std::ios_base::binary;
#if defined(_MSC_VER)
    stream.open(path, mode, _SH_DENYNO);
#else
    stream.open(path, mode);  // these streams share what they open, and have no argument to say so
#endif
}

}  // namespace sd::clip
