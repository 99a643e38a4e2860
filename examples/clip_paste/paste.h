#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "offered_files.h"
#include "paste_options.h"

/// The program's exit codes.
enum class PasteResult {
    Written = 0,
    Failed = 1,
    Stopped = 2,
};

/// Writes all files of the list below the destination, one after the other. Writes nothing at all if one of them
/// would land outside it. A file that is not whole at a failure or a stop is removed. Prints what it wrote.
/// Throws std::runtime_error if it cannot begin; later failures are printed.
PasteResult pasteFiles(const OfferedFiles& offered, const PasteOptions& options);

/// Makes a running paste stop after its present read; may be called on any thread.
/// @return false if it was asked to before
bool askToStop();
bool isStopAsked();

/// @return "wrote 3 files, 4096 bytes", or how far it came
std::string describePaste(PasteResult result, std::size_t fileCount, std::uint64_t byteCount);
