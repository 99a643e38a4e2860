#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "sd/clip/clipboard_data.h"

/// Describes everything below a folder as a guest would: a directory stands before what it holds.
/// Throws std::filesystem::filesystem_error if the folder cannot be read.
std::vector<sd::clip::ClipfileDescription> listGuestFiles(const std::filesystem::path& directory);

/// @return where the bytes of an entry of that list are
std::filesystem::path findSource(const sd::clip::ClipfileDescription& file);

bool isDirectory(const sd::clip::ClipfileDescription& file);

/// A count of files, without directories, and of their bytes.
struct GuestTotals {
    std::size_t files = 0;
    std::uint64_t bytes = 0;
};
GuestTotals sumUp(const std::vector<sd::clip::ClipfileDescription>& files);

/// @return "3 files, 4096 bytes"
std::string formatGuestTotals(const GuestTotals& totals);
