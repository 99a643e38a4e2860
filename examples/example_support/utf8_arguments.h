// The command line and other texts in UTF-8. The arguments of main are in the code page of the user's language, which
// has no place for most names.
#pragma once

#include <string>
#include <vector>

/// @return the program's arguments, without its own name
std::vector<std::string> readUtf8Arguments();

/// Both put U+FFFD where the text is not valid.
std::string toUtf8(const std::wstring& text);
std::wstring toUtf16(const std::string& text);
