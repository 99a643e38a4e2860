// Every import of the library: what can fail, and what is left out and why.
#pragma once

#include <windows.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "swept_import.h"

class SweptImports {
public:
    // One list for each process.
    static const std::vector<std::unique_ptr<SweptImport>>& all();

    // Null if there is none of that name.
    static SweptImport* find(const std::string& name);

    static void replaceIn(HMODULE module);

    // Name and reason.
    static const std::map<std::string, std::string>& leftOut();

    // Swept imports that no route comes to, with the reason.
    static const std::map<std::string, std::string>& unreached();

    // The names of all imports of a loaded module, in the order of its table.
    static std::vector<std::string> namesIn(HMODULE module);
};
