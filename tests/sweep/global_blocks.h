// The blocks of global memory that a module has made and that nobody has freed.
#pragma once

#include <windows.h>

#include <cstddef>
#include <memory>
#include <vector>

#include "example_support/import_patch.h"

// One for each process, made early. The module gives blocks away, to the clipboard and to who pastes: what the platform
// and this program free counts too.
class GlobalBlocks {
public:
    explicit GlobalBlocks(HMODULE library);

    static std::size_t count();

private:
    std::vector<std::unique_ptr<ImportPatch>> mPatches;
};
