// Replaces what a module calls, for one scope.
#pragma once

#include <windows.h>

#include <vector>

/// Replaces one import in a module's import address table, and restores it in the destructor. Code that already holds
/// the function's address, or gets it by GetProcAddress, is not affected.
/// Nested patches of one import must end in the reverse order of their beginning, as scopes do.
///
/// Threads: the replacement may be called at once from any thread of the process. The module must stay loaded, and a
/// call that already runs in the replacement goes on after the destructor.
class ImportPatch {
public:
    /// @param module      the module whose calls are replaced; null is this program
    /// @param name        the function's name, or MAKEINTRESOURCEA(ordinal)
    /// @param replacement a function of the same type
    /// @param dll         file name of the DLL that it is imported from; null is any, and all if there are several
    /// Throws std::runtime_error if the module does not import the function: a misspelt name must not pass unseen.
    ImportPatch(HMODULE module, const char* name, void* replacement, const char* dll = nullptr);
    ImportPatch(const ImportPatch&) = delete;
    ImportPatch& operator=(const ImportPatch&) = delete;
    ~ImportPatch();

    /// @return what the import was before
    void* original() const
    {
        return mReplaced.front().before;
    }

private:
    struct Entry {
        void** slot;
        void* before;
    };
    void restore();

    std::vector<Entry> mReplaced;
};
