// SHA-256 as the system computes it: 64 lower case hexadecimal digits.
#pragma once

#include <map>
#include <string>

std::string sha256Of(const std::string& bytes);

// Empty if the file can't be read. It is read piece by piece, whatever its size.
std::string sha256OfFile(const std::wstring& path);

// What lies below a folder: names in UTF-8, with the sums of those that are files and "folder" for folders.
std::map<std::string, std::string> sumsBelow(const std::wstring& folder);
