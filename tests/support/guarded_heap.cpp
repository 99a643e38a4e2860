#include "support/guarded_heap.h"

#include <windows.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "example_support/import_patch.h"

namespace {

constexpr std::size_t kPage = 4096;
constexpr std::size_t kAlignment = 16;
constexpr std::size_t kArenaPages = std::size_t{1} << 26;  // 256 GiB of addresses, none of which is used twice
constexpr int kMostLive = 20000;  // two mappings each, of which the kernel has 65,530 for a process
constexpr unsigned char kFresh = 0xCD;
constexpr unsigned char kMargin = 0xAB;

template <class Fn>
Fn findInRuntime(const char* name)
{
    return reinterpret_cast<Fn>(reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"msvcrt.dll"), name)));
}

const Allocator& runtime()
{
    static const Allocator functions = {
        findInRuntime<decltype(Allocator::allocate)>("malloc"),
        findInRuntime<decltype(Allocator::allocateZeroed)>("calloc"),
        findInRuntime<decltype(Allocator::resize)>("realloc"),
        findInRuntime<decltype(Allocator::release)>("free"),
    };
    return functions;
}

std::size_t roundUp(std::size_t size, std::size_t unit)
{
    return (size + unit - 1) / unit * unit;
}

[[noreturn]] void complain(const char* what, const void* block)
{
    std::fprintf(stderr, "guarded heap: %s at %p\n", what, block);
    std::fflush(stderr);
    TerminateProcess(GetCurrentProcess(), 99);
    std::abort();
}

// A block begins in its first page and ends, but for its alignment, with its last one. The page behind that is the
// guard. Margins before and behind it are filled, and looked at when it is freed.
class Arena {
public:
    bool reserve()
    {
        mBegin = static_cast<char*>(VirtualAlloc(nullptr, kArenaPages * kPage, MEM_RESERVE, PAGE_NOACCESS));
        mSizes = static_cast<std::atomic<std::size_t>*>(
            VirtualAlloc(nullptr, kArenaPages * sizeof(*mSizes), MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
        return mBegin != nullptr && mSizes != nullptr;
    }

    bool contains(const void* block) const
    {
        return block >= mBegin && block < mBegin + kArenaPages * kPage;
    }

    // Null if there is no room.
    void* allocate(std::size_t size)
    {
        const std::size_t room = roundUp(std::max(size, std::size_t{1}), kAlignment);
        const std::size_t pages = roundUp(room, kPage) / kPage;
        if (room < size || pages >= kArenaPages || mLive >= kMostLive)
            return nullptr;
        const std::size_t first = mUsed.fetch_add(pages + 1);
        if (first + pages >= kArenaPages)
            return nullptr;
        char* const begin = mBegin + first * kPage;
        if (VirtualAlloc(begin, pages * kPage, MEM_COMMIT, PAGE_READWRITE) == nullptr)
            return nullptr;
        ++mLive;
        char* const block = begin + pages * kPage - room;
        std::memset(begin, kMargin, static_cast<std::size_t>(block - begin));
        std::memset(block, kFresh, std::min(size, kPage));
        std::memset(block + size, kMargin, room - size);
        mSizes[first] = size + 1;  // 0: no block begins there
        return block;
    }

    std::size_t sizeOf(const void* block) const
    {
        const std::size_t size = mSizes[pageOf(block)];
        if (size == 0)
            complain("no block, or one that was freed,", block);
        return size - 1;
    }

    void release(void* block)
    {
        const std::size_t first = pageOf(block);
        const std::size_t sizeAndOne = mSizes[first].exchange(0);
        if (sizeAndOne == 0)
            complain("no block, or one that was freed, is freed", block);
        const std::size_t size = sizeAndOne - 1;
        const std::size_t room = roundUp(std::max(size, std::size_t{1}), kAlignment);
        const std::size_t pages = roundUp(room, kPage) / kPage;
        char* const begin = mBegin + first * kPage;
        if (block != begin + pages * kPage - room)
            complain("an address inside a block is freed", block);
        expectMargin(begin, static_cast<char*>(block), block);
        expectMargin(static_cast<char*>(block) + size, static_cast<char*>(block) + room, block);
        VirtualFree(begin, pages * kPage, MEM_DECOMMIT);
        --mLive;
    }

private:
    std::size_t pageOf(const void* block) const
    {
        return static_cast<std::size_t>(static_cast<const char*>(block) - mBegin) / kPage;
    }

    static void expectMargin(const char* begin, const char* end, const void* block)
    {
        if (std::any_of(begin, end, [](char each) { return static_cast<unsigned char>(each) != kMargin; }))
            complain("bytes beside a block were written", block);
    }

    char* mBegin = nullptr;
    std::atomic<std::size_t>* mSizes = nullptr;  // by the page in which a block begins
    std::atomic<std::size_t> mUsed{0};           // pages
    std::atomic<int> mLive{0};
};

Arena gArena;

void* guardedAllocate(std::size_t size)
{
    void* const block = gArena.allocate(size);
    return block != nullptr ? block : runtime().allocate(size);
}

void* guardedAllocateZeroed(std::size_t count, std::size_t size)
{
    void* const block = size == 0 || count <= SIZE_MAX / size ? gArena.allocate(count * size) : nullptr;
    return block != nullptr ? std::memset(block, 0, count * size) : runtime().allocateZeroed(count, size);
}

void guardedRelease(void* block)
{
    if (gArena.contains(block))
        gArena.release(block);
    else
        runtime().release(block);
}

void* guardedResize(void* block, std::size_t size)
{
    if (block != nullptr && !gArena.contains(block))
        return runtime().resize(block, size);
    if (block != nullptr && size == 0) {
        gArena.release(block);
        return nullptr;
    }
    void* const resized = guardedAllocate(size);
    if (resized != nullptr && block != nullptr) {
        std::memcpy(resized, block, std::min(size, gArena.sizeOf(block)));
        gArena.release(block);
    }
    return resized;
}

constexpr Allocator kGuarded = {guardedAllocate, guardedAllocateZeroed, guardedResize, guardedRelease};
const Allocator* gAllocator = nullptr;

// Not restored: blocks are freed until the very end of the process.
void replaceAllocator(const std::vector<HMODULE>& modules)
{
    const auto replace = [&modules](const char* name, auto function) {
        for (const HMODULE module : modules)
            new ImportPatch(module, name, reinterpret_cast<void*>(function));
    };
    replace("free", kGuarded.release);  // before there are blocks for it
    replace("realloc", kGuarded.resize);
    replace("malloc", kGuarded.allocate);
    replace("calloc", kGuarded.allocateZeroed);
}

}  // namespace

void guardHeapIfAsked()
{
    if (std::getenv("MD_CLIPBOARD_GUARDED_HEAP") == nullptr)
        return;
    runtime();  // found before anything is replaced
    if (!gArena.reserve())
        complain("no room", nullptr);
    gAllocator = &kGuarded;
    std::vector<HMODULE> modules = {nullptr};
    if (const HMODULE library = GetModuleHandleW(L"md-clipboard.dll"))
        modules.push_back(library);
    replaceAllocator(modules);
}

const Allocator& processAllocator()
{
    return gAllocator != nullptr ? *gAllocator : runtime();
}
