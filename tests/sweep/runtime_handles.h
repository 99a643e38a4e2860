// The events and semaphores of the C++ runtime's locks, in a module and in this program.
#pragma once

#include <windows.h>

#include <cstddef>
#include <memory>
#include <vector>

#include "example_support/import_patch.h"

// MinGW-w64's runtime makes them when two threads want one lock at once for the first time, and keeps them for the next
// time: whether there is one is chance. One for each process, made early; with another runtime it finds nothing.
class RuntimeHandles {
public:
    explicit RuntimeHandles(HMODULE library);

    static std::size_t count();

private:
    void replace(HMODULE module, const char* name, void* replacement);

    std::vector<std::unique_ptr<ImportPatch>> mPatches;
};
