#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// A file or folder that a paste of paths copies.
struct DropEntry {
    std::wstring source;
    std::wstring place;  // where it goes
    bool directory = false;
    std::uint64_t size = 0;  // bytes
};

/// All that the paths stand for; a folder stands before what it holds.
/// @param destination as findDestination gives it
/// Throws std::runtime_error if one of them is not there, would land outside the destination, or is a folder that the
/// destination lies in.
std::vector<DropEntry> findDropEntries(const std::vector<std::wstring>& paths, const std::wstring& destination);
