// What this process holds, for comparing before and after.
#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <memory>

#include "support/import_hook.h"

// @param most only handles with numbers below it count; the platform gives the lowest free number
std::size_t countHandles(std::uintptr_t most = 0x10000);
std::size_t countThreads();

// Counts the blocks of memory that this program and the given module hold together; what one of them makes the other
// may free. Those of the platform's own modules do not count. One for each process, made early.
class LiveBlocks {
public:
    // @param module null: this program alone
    explicit LiveBlocks(HMODULE module);

    // More than at its making.
    static std::ptrdiff_t count();

private:
    struct Hooks {
        explicit Hooks(HMODULE module);

        ImportPatch allocate;
        ImportPatch allocateZeroed;
        ImportPatch resize;
        ImportPatch release;
    };

    Hooks mProgram;
    std::unique_ptr<Hooks> mModule;
};
