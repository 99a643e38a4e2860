// Lets the library's window stand under Wine. Programs for Windows alone need nothing of this.
#pragma once

#include <windows.h>

#include <optional>

#include "example_support/import_patch.h"

/// Under Wine, CreateWindowExA leaves a last error behind although it succeeds. The library takes a last error after
/// the call for a failure and gives up its window; on Windows that is right and stays so. So it is for the program
/// that runs it under Wine to hand it a CreateWindowExA that behaves as on Windows.
///
/// While an object lives, the module's calls of CreateWindowExA clear the last error after a success. Does nothing
/// where the system is not Wine. Must stand before the module makes its window and may go any time after that.
class WineWindowFix {
public:
    /// @param module the one that holds the library: its DLL, or null for a program that links its objects
    /// Throws std::runtime_error if the module does not import CreateWindowExA.
    explicit WineWindowFix(HMODULE module);

private:
    std::optional<ImportPatch> mPatch;
};
