#include "example_support/import_patch.h"

#include <cstring>
#include <stdexcept>
#include <string>

namespace {

/// The tables of a loaded module: all their addresses are offsets from where it lies in memory.
class LoadedModule {
public:
    explicit LoadedModule(HMODULE module)
        : mBase(reinterpret_cast<BYTE*>(module != nullptr ? module : GetModuleHandleW(nullptr)))
    {
    }

    template <class T>
    T* at(ULONGLONG offset) const
    {
        return reinterpret_cast<T*>(mBase + offset);
    }

    /// @return the first of the import descriptors, one for each DLL, ended by one without a name; null if none
    const IMAGE_IMPORT_DESCRIPTOR* importDescriptors() const
    {
        const auto* headers = at<IMAGE_NT_HEADERS>(static_cast<DWORD>(at<IMAGE_DOS_HEADER>(0)->e_lfanew));
        const DWORD offset = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
        return offset != 0 ? at<IMAGE_IMPORT_DESCRIPTOR>(offset) : nullptr;
    }

private:
    BYTE* mBase;
};

bool isOrdinal(const char* name)
{
    return IS_INTRESOURCE(name);
}

bool isWanted(const LoadedModule& module, const IMAGE_THUNK_DATA& import, const char* name)
{
    if (IMAGE_SNAP_BY_ORDINAL(import.u1.Ordinal))
        return isOrdinal(name) && IMAGE_ORDINAL(import.u1.Ordinal) == reinterpret_cast<ULONG_PTR>(name);
    if (isOrdinal(name))
        return false;
    const char* imported = module.at<IMAGE_IMPORT_BY_NAME>(import.u1.AddressOfData)->Name;
    return std::strcmp(imported, name) == 0;
}

/// @return the slots of the address table through which the module calls the function
std::vector<void**> findSlots(const LoadedModule& module, const char* name, const char* dll)
{
    std::vector<void**> slots;
    const auto* descriptor = module.importDescriptors();
    for (; descriptor != nullptr && descriptor->Name != 0; ++descriptor) {
        if (descriptor->OriginalFirstThunk == 0)
            continue;  // keeps no names
        if (dll != nullptr && lstrcmpiA(module.at<const char>(descriptor->Name), dll) != 0)
            continue;
        // The loader writes addresses over the second table; the names stand in the first one only.
        const auto* import = module.at<IMAGE_THUNK_DATA>(descriptor->OriginalFirstThunk);
        auto* address = module.at<IMAGE_THUNK_DATA>(descriptor->FirstThunk);
        for (; import->u1.AddressOfData != 0; ++import, ++address) {
            if (isWanted(module, *import, name))
                slots.push_back(reinterpret_cast<void**>(&address->u1.Function));
        }
    }
    return slots;
}

bool writeSlot(void** slot, void* value)
{
    DWORD protection = 0;
    if (!VirtualProtect(slot, sizeof *slot, PAGE_READWRITE, &protection))
        return false;
    InterlockedExchangePointer(slot, value);
    VirtualProtect(slot, sizeof *slot, protection, &protection);
    return true;
}

std::string describe(const char* name)
{
    return isOrdinal(name) ? "#" + std::to_string(reinterpret_cast<ULONG_PTR>(name)) : name;
}

}  // namespace

ImportPatch::ImportPatch(HMODULE module, const char* name, void* replacement, const char* dll)
{
    const std::vector<void**> slots = findSlots(LoadedModule(module), name, dll);
    if (slots.empty())
        throw std::runtime_error("the module does not import " + describe(name));
    mReplaced.reserve(slots.size());
    for (void** slot : slots) {
        mReplaced.push_back({slot, *slot});
        if (writeSlot(slot, replacement))
            continue;
        mReplaced.pop_back();
        restore();  // no destructor runs after a constructor that throws
        throw std::runtime_error("the import table cannot be written for " + describe(name));
    }
}

ImportPatch::~ImportPatch()
{
    restore();
}

void ImportPatch::restore()
{
    for (auto entry = mReplaced.rbegin(); entry != mReplaced.rend(); ++entry)
        writeSlot(entry->slot, entry->before);
}
