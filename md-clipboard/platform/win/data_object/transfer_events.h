// The one event that the reading of slices raises. A function of its own, so that reading needs no platform.
#pragma once

#include <cstdint>

namespace sd::clip {

// Event "transferFail"/"downloadError" with code 1502: a slice did not come in time.
// @param fileSize   bytes of the whole file
// @param copiedSize bytes that the reader has copied so far
void reportDownloadTimeout(std::int64_t fileSize, std::int64_t copiedSize);

}  // namespace sd::clip
