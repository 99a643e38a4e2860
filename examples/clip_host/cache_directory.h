#pragma once

#include <string>

/// @param asked the directory that the command line names; empty: the folder "cache" beside this program
/// @return the directory as the library takes it: forward slashes, and one at the end, since it adds none; without the
///         prefix of long paths
std::string chooseCacheDirectory(const std::string& asked);

/// The same for placeholders. The library removes all files from the directory before each placeholder, so it is a
/// folder of this program's own in the one above; and it knows its own placeholders by the directory's spelling, so
/// that is the one that the system reports, letter case included. Makes what is missing. Throws std::runtime_error or
/// std::filesystem::filesystem_error if it cannot be made.
std::string choosePlaceholderDirectory(const std::string& asked);
