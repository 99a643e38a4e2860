#pragma once

#include <string>

/// @param asked the directory that the command line names; empty: the folder "cache" beside this program
/// @return the directory as the library takes it: forward slashes, and one at the end, since it adds none
std::string chooseCacheDirectory(std::string asked);
