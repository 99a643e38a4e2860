// What stands in a built program or DLL: its tables of imports and exports, and any text.
#pragma once

#include <windows.h>

#include <filesystem>
#include <map>
#include <set>
#include <string>

class PeImage {
public:
    /// @throws std::runtime_error if the file cannot be read or is no 64-bit image
    explicit PeImage(const std::filesystem::path& file);

    /// @return the imported names by DLL, whose name is in lower case; "#7" is an import by ordinal
    std::map<std::string, std::set<std::string>> imports() const;

    /// @return the exported names; "#7" is one that has an ordinal only
    std::set<std::string> exports() const;

    /// @return whether it imports something that is loaded at its first call only, which imports() does not list
    bool hasDelayedImports() const;

    /// @return whether the text stands anywhere in the file, as it is or as UTF-16
    bool contains(const std::string& asciiText) const;

private:
    const IMAGE_NT_HEADERS64& headers() const;
    const IMAGE_DATA_DIRECTORY& directory(unsigned index) const;
    std::size_t offsetOf(DWORD address) const;
    std::string textAt(DWORD address) const;
    std::set<std::string> importedNames(const IMAGE_IMPORT_DESCRIPTOR& library) const;

    // address: counted from where the image is loaded, as all addresses in the tables are. Its sections lie closer
    // together in the file.
    template <class T>
    const T* at(DWORD address) const
    {
        return reinterpret_cast<const T*>(mBytes.data() + offsetOf(address));
    }

    std::string mBytes;
};
