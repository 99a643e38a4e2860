// SHA-256 as the system computes it: 64 lower case hexadecimal digits.
#pragma once

#include <string>

std::string sha256Of(const std::string& bytes);

// Empty if the file can't be read. It is read piece by piece, whatever its size.
std::string sha256OfFile(const std::wstring& path);
