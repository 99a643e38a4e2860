// Makes a platform call of the module under test fail, or watches it, for one scope.
#pragma once

#include "example_support/import_patch.h"

/// A typed ImportPatch:
///   ImportHook<decltype(&OpenClipboard)> open(nullptr, "OpenClipboard", +[](HWND) -> BOOL { return FALSE; });
/// The replacement captures nothing; what it needs stands in variables of the test file.
template <class Fn>
class ImportHook : public ImportPatch {
public:
    /// @param module the module whose calls are replaced; null is this program
    ImportHook(HMODULE module, const char* name, Fn replacement)
        : ImportPatch(module, name, reinterpret_cast<void*>(replacement))
    {
    }

    /// @return the function that is replaced
    Fn real() const
    {
        return reinterpret_cast<Fn>(original());
    }
};
