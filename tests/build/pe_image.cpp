#include "build/pe_image.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <fstream>
#include <iterator>
#include <stdexcept>

PeImage::PeImage(const std::filesystem::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    mBytes.assign(std::istreambuf_iterator<char>(stream), {});
    if (mBytes.size() < sizeof(IMAGE_DOS_HEADER))
        throw std::runtime_error("cannot read " + file.u8string());
    const auto start = static_cast<std::size_t>(reinterpret_cast<const IMAGE_DOS_HEADER*>(mBytes.data())->e_lfanew);
    if (start + sizeof(IMAGE_NT_HEADERS64) > mBytes.size() || headers().Signature != IMAGE_NT_SIGNATURE ||
        headers().OptionalHeader.Magic != IMAGE_NT_OPTIONAL_HDR64_MAGIC)
        throw std::runtime_error("no 64-bit image: " + file.u8string());
}

std::map<std::string, std::set<std::string>> PeImage::imports() const
{
    std::map<std::string, std::set<std::string>> imports;
    const DWORD table = directory(IMAGE_DIRECTORY_ENTRY_IMPORT).VirtualAddress;
    if (table == 0)
        return imports;
    for (auto library = at<IMAGE_IMPORT_DESCRIPTOR>(table); library->Name != 0; ++library) {
        std::string name = textAt(library->Name);
        std::transform(name.begin(), name.end(), name.begin(),
                       [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
        imports[name].merge(importedNames(*library));
    }
    return imports;
}

std::set<std::string> PeImage::importedNames(const IMAGE_IMPORT_DESCRIPTOR& library) const
{
    std::set<std::string> names;
    const DWORD table = library.OriginalFirstThunk != 0 ? library.OriginalFirstThunk : library.FirstThunk;
    for (auto thunk = at<IMAGE_THUNK_DATA64>(table); thunk->u1.AddressOfData != 0; ++thunk) {
        if (IMAGE_SNAP_BY_ORDINAL64(thunk->u1.Ordinal))
            names.insert("#" + std::to_string(IMAGE_ORDINAL64(thunk->u1.Ordinal)));
        else
            names.insert(textAt(static_cast<DWORD>(thunk->u1.AddressOfData) + offsetof(IMAGE_IMPORT_BY_NAME, Name)));
    }
    return names;
}

std::set<std::string> PeImage::exports() const
{
    std::set<std::string> names;
    const DWORD address = directory(IMAGE_DIRECTORY_ENTRY_EXPORT).VirtualAddress;
    if (address == 0)
        return names;
    const auto& table = *at<IMAGE_EXPORT_DIRECTORY>(address);
    const auto named = at<DWORD>(table.AddressOfNames);
    const auto ordinals = at<WORD>(table.AddressOfNameOrdinals);
    for (DWORD index = 0; index < table.NumberOfNames; ++index)
        names.insert(textAt(named[index]));
    for (DWORD ordinal = 0; ordinal < table.NumberOfFunctions; ++ordinal) {
        if (std::find(ordinals, ordinals + table.NumberOfNames, ordinal) == ordinals + table.NumberOfNames)
            names.insert("#" + std::to_string(table.Base + ordinal));
    }
    return names;
}

bool PeImage::hasDelayedImports() const
{
    return directory(IMAGE_DIRECTORY_ENTRY_DELAY_IMPORT).VirtualAddress != 0;
}

bool PeImage::contains(const std::string& asciiText) const
{
    std::string wide;
    for (const char letter : asciiText)
        wide.append({letter, '\0'});
    return mBytes.find(asciiText) != std::string::npos || mBytes.find(wide) != std::string::npos;
}

const IMAGE_NT_HEADERS64& PeImage::headers() const
{
    const auto start = reinterpret_cast<const IMAGE_DOS_HEADER*>(mBytes.data())->e_lfanew;
    return *reinterpret_cast<const IMAGE_NT_HEADERS64*>(mBytes.data() + start);
}

const IMAGE_DATA_DIRECTORY& PeImage::directory(unsigned index) const
{
    return headers().OptionalHeader.DataDirectory[index];
}

std::size_t PeImage::offsetOf(DWORD address) const
{
    const auto afterHeaders =
        reinterpret_cast<const char*>(&headers().OptionalHeader) + headers().FileHeader.SizeOfOptionalHeader;
    auto section = reinterpret_cast<const IMAGE_SECTION_HEADER*>(afterHeaders);
    for (unsigned count = headers().FileHeader.NumberOfSections; count > 0; --count, ++section) {
        if (address >= section->VirtualAddress && address - section->VirtualAddress < section->SizeOfRawData)
            return address - section->VirtualAddress + section->PointerToRawData;
    }
    throw std::runtime_error("no section holds address " + std::to_string(address));
}

std::string PeImage::textAt(DWORD address) const
{
    return at<char>(address);
}
