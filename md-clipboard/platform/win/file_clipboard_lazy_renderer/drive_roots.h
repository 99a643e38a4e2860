// The drives of the machine, as the platform lists them.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace sd::clip {

// Their roots, such as `C:\`, whatever kind of drive each is. Asks the platform each time.
// @return nothing if the drives can't be listed, which is in the log; a machine without drives has an empty list
std::optional<std::vector<std::wstring>> listDriveRoots();

}  // namespace sd::clip
