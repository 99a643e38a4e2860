#include "global_blocks.h"

#include <mutex>
#include <set>
#include <stdexcept>

namespace {

struct Blocks {
    std::mutex mutex;
    std::set<HGLOBAL> live;
};

Blocks& shared()
{
    static auto& blocks = *new Blocks;  // calls come until the process ends
    return blocks;
}

HGLOBAL WINAPI allocateNoted(UINT flags, SIZE_T size)
{
    const HGLOBAL block = GlobalAlloc(flags, size);
    if (block != nullptr) {
        const std::lock_guard<std::mutex> lock(shared().mutex);
        shared().live.insert(block);
    }
    return block;
}

// The platform's own: this program's import is replaced too.
HGLOBAL WINAPI freeNoted(HGLOBAL block)
{
    static const auto release = reinterpret_cast<decltype(&GlobalFree)>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "GlobalFree")));
    {
        const std::lock_guard<std::mutex> lock(shared().mutex);
        shared().live.erase(block);
    }
    return release(block);
}

}  // namespace

GlobalBlocks::GlobalBlocks(HMODULE library)
{
    mPatches.push_back(std::make_unique<ImportPatch>(library, "GlobalAlloc", reinterpret_cast<void*>(&allocateNoted)));
    const HMODULE freeing[] = {library, nullptr, GetModuleHandleW(L"user32.dll"), GetModuleHandleW(L"ole32.dll")};
    for (const HMODULE module : freeing) {
        try {
            mPatches.push_back(
                std::make_unique<ImportPatch>(module, "GlobalFree", reinterpret_cast<void*>(&freeNoted)));
        } catch (const std::runtime_error&) {
            continue;  // it frees none
        }
    }
}

std::size_t GlobalBlocks::count()
{
    const std::lock_guard<std::mutex> lock(shared().mutex);
    return shared().live.size();
}
