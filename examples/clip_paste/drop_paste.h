#pragma once

#include "drop_list.h"
#include "paste.h"
#include "paste_options.h"

/// Copies or moves what the list names into the destination, as a file manager does: a move is a copy, and a removal of
/// the sources once everything is there. Writes nothing at all if one of the paths would land outside, and replaces
/// nothing: what is there may be somebody's only copy. Prints what it wrote.
/// Throws std::runtime_error if it cannot begin; later failures are printed.
PasteResult pasteDropList(const DropList& list, const PasteOptions& options);
