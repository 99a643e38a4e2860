#pragma once

#include <string>
#include <vector>

/// What a file manager puts on the clipboard: the paths of files and folders that are on this machine.
struct DropList {
    std::vector<std::wstring> paths;
    bool cut = false;  // a paste is to move them; otherwise it copies
};

/// @return whether the clipboard holds such a list and no streams, which are preferred
bool isDropListOffered();

/// Throws std::runtime_error if it cannot be read.
DropList readDropList();
