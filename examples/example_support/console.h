// Output of the example programs: UTF-8, on terminals and into files alike.
#pragma once

#include <string_view>

/// Tells the terminal that UTF-8 comes; to be called at the start of main.
void useUtf8Console();

/// Writes the text as it is, in one call and at once, so that texts of several threads do not mix and a reader of a
/// pipe need not wait.
void printText(std::string_view text);
void printError(std::string_view text);
