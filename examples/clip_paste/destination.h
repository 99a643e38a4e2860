#pragma once

#include <string>

/// @param given the folder as the command line names it
/// @return its full path, in the form that takes paths of any length and in which no name means another one, without a
///         separator at its end
/// Throws std::runtime_error if there can be no such folder.
std::wstring findDestination(const std::string& given);

/// @param path full, with a drive or a share
/// @return the same path in that form
std::wstring makeVerbatim(const std::wstring& path);
