// Puts paths on the system clipboard as files, with the effect that a paste is to have.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "support/owned_block.h"

namespace sd::clip {

// Replaces what the clipboard holds by the files. One attempt; what was there is lost as soon as the clipboard could be
// opened. Without memory for the effect, or where the clipboard refuses it, the files stand there without one.
// @param effect a DROPEFFECT
// @return whether the files stand on the clipboard; a clipboard that can't be opened leaves no line in the log
bool publishDropFiles(const std::vector<std::wstring>& paths, std::uint32_t effect);

// The block that a clipboard has for its format CF_HDROP.
// @return unlocked; null if there is no memory, which is in the log
OwnedBlock makeDropFilesBlock(const std::vector<std::wstring>& paths);

}  // namespace sd::clip
