#pragma once

#include <cstdint>
#include <optional>
#include <string>

/// What the command line asks for.
struct PasteOptions {
    std::string destination;
    bool list = false;                     // show the list only
    bool rename = false;                   // move cut files by rename
    std::uint32_t chunk = 65536;           // bytes of a read
    std::optional<std::uint64_t> stopAt;   // leave after that many bytes
    std::optional<std::uint64_t> pauseAt;  // pause once after that many bytes
    unsigned pause = 0;                    // milliseconds
};

/// @param exitCode receives what main is to return if the result is false
/// @return false if there is nothing more to do, because the command line asks for help or is wrong
bool readPasteOptions(PasteOptions& options, int& exitCode);
