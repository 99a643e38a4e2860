// A name as a guest may give it, and what becomes of it.
#pragma once

#include <string>

enum class NameVerdict {
    kPasses,
    kDevice,  // passes; on this system it may stand for a device, which lies in no folder
    kParent,
    kSeparator,
    kDrive,
    kNul,
};

struct GuestNameCase {
    std::string relativePath;
    std::string fileName;
    NameVerdict verdict;
};
