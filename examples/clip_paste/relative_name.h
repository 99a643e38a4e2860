#pragma once

#include <optional>
#include <string>
#include <string_view>

/// Decides where an entry of a pasted list goes. The list comes from another program, which may not be honest.
/// @param name as the list has it, with separators of either kind
/// @return the path below the destination, with single backslashes and without one at its start; nothing if the name
///         is empty or could lead out of the destination
std::optional<std::wstring> findPlaceBelow(std::wstring_view name);
