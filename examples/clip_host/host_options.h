#pragma once

#include <string>

#include "guest_options.h"

/// What the command line asks for.
struct HostOptions {
    bool verbose = false;          // show all lines of the library's log
    bool noFiles = false;          // play a guest that takes no files
    bool fullPostProcess = false;  // copied directories stay single entries
    bool allRows = false;          // show long lists whole
    std::string cacheDirectory;    // for what a guest sends; empty: none, or one beside the program for a guest
    unsigned lists = 0;            // leave after that many lists that are not empty; 0: any number
    unsigned reports = 0;          // leave after that many reports of formats, empty ones too; 0: any number
    unsigned seconds = 0;          // leave then; 0: never
    GuestOptions guest;

    bool hasGoal() const
    {
        return lists > 0 || reports > 0;
    }
};

/// @param exitCode receives what main is to return if the result is false
/// @return false if there is nothing more to do, because the command line asks for help or is wrong
bool readHostOptions(HostOptions& options, int& exitCode);
