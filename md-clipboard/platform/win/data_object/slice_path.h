// The names of slice files in the cache directory.
#pragma once

#include <cstdint>
#include <string>

namespace sd::clip {

// @param cacheDirectory as the host gave it; no separator is put behind it
// @param fileKey the record's key, of any bytes
// @param index position of the slice in its file, from 0
std::string MakeSlicePath(const std::string& cacheDirectory, const std::string& fileKey, std::int32_t index);

}  // namespace sd::clip
