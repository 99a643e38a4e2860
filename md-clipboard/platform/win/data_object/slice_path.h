// The names of slice files in the cache directory.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace sd::clip {

// @param cacheDirectory as the host gave it; no separator is put behind it
// @param fileKey the record's key, of any bytes
// @param index position of the slice in its file, from 0
std::string MakeSlicePath(const std::string& cacheDirectory, const std::string& fileKey, std::int32_t index);

// What tells the file in the name of its slices, as numbers.
using SliceDigest = std::array<std::uint64_t, 2>;

SliceDigest DigestOfKey(const std::string& fileKey);

// @param name of a file in the cache directory, as the platform lists it; it may have kept another letter case
// @return nothing if no slice is named so
std::optional<SliceDigest> ParseSliceName(std::wstring_view name);

}  // namespace sd::clip
