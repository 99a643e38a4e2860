#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "sd/clip/clipboard_data.h"

/// A received list as text: a row for each entry with relative name, size in bytes, attributes and write time (UTC),
/// then the totals. Rows behind maxRows are only counted.
std::string formatFileTable(const std::vector<sd::clip::ClipfileDescription>& files, std::size_t maxRows);
