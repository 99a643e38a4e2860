// The record that tells the host which folder a placeholder was pasted into.
#pragma once

#include <memory>
#include <string>

#include "sd/clip/clipboard_data.h"

namespace sd::clip {

// One description without a file name: the host brings the files of its own list there.
// @param targetDir UTF-8; it is cut at its last backslash
// @param fileName of the placeholder, which the host is not told
std::shared_ptr<ClipboardFileData> makeTargetRecord(const std::string& targetDir, const std::string& relativePath,
                                                    const std::string& fileName);

// @return where the files of `data` are wanted; empty while nobody has told
ClipfileDescription readFirstTarget(ClipboardFileDataEx& data);

}  // namespace sd::clip
