#include "expansion_bench.h"

#include <windows.h>

#include <chrono>
#include <cwchar>
#include <stdexcept>
#include <vector>

#include "counted_memory.h"
#include "file_utilities/clip_file_list.h"
#include "file_utilities/encoding.h"
#include "sd/clip/clipboard_data.h"

using namespace sd::clip;

namespace {

constexpr int kRounds = 7;

double secondsSince(std::chrono::steady_clock::time_point begun)
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begun).count();
}

bool isDots(const wchar_t* name)
{
    return std::wcscmp(name, L".") == 0 || std::wcscmp(name, L"..") == 0;
}

// The least that anybody must do who wants to know the files of a tree.
std::size_t walk(const std::wstring& folder)
{
    std::size_t files = 0;
    std::vector<std::wstring> folders{folder};
    while (!folders.empty()) {
        const std::wstring current = folders.back();
        folders.pop_back();
        WIN32_FIND_DATAW entry;
        const HANDLE search = FindFirstFileW((current + L"\\*").c_str(), &entry);
        if (search == INVALID_HANDLE_VALUE)
            continue;
        do {
            if (isDots(entry.cFileName))
                continue;
            if ((entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0)
                folders.push_back(current + L"\\" + entry.cFileName);
            else
                ++files;
        } while (FindNextFileW(search, &entry));
        FindClose(search);
    }
    return files;
}

std::vector<std::wstring> listFolders(const std::wstring& folder)
{
    std::vector<std::wstring> folders;
    WIN32_FIND_DATAW entry;
    const HANDLE search = FindFirstFileW((folder + L"\\*").c_str(), &entry);
    if (search == INVALID_HANDLE_VALUE)
        throw std::runtime_error("there is no tree");
    do {
        if (!isDots(entry.cFileName) && (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0)
            folders.push_back(folder + L"\\" + entry.cFileName);
    } while (FindNextFileW(search, &entry));
    FindClose(search);
    return folders;
}

// All that the library does between reading the drop list and handing out the record.
std::size_t expand(const std::wstring& folder)
{
    ClipFileList list({WideToUtf8(folder)});
    list.ExpandAllFiles(true);
    ClipboardFileDataImpl record;
    record.SetFiles(list.TakeAllFiles());
    return record.GetFiles().size();
}

struct Timing {
    double seconds;
    std::size_t files;
};

template <class Function>
Timing time(Function function, const std::wstring& folder)
{
    const auto begun = std::chrono::steady_clock::now();
    const std::size_t files = function(folder);
    const double seconds = secondsSince(begun);
    if (files == 0)
        throw std::runtime_error("the tree is empty");
    return {seconds, files};
}

}  // namespace

BenchResult measureExpandVsWalk(const std::wstring& tree)
{
    walk(tree);  // warms the file system's caches for both
    const Rounds ratios = runRounds(kRounds, [&] {
        const Timing walked = time(walk, tree);
        const Timing expanded = time(expand, tree);
        if (walked.files != expanded.files)
            throw std::runtime_error("walk and expansion disagree");
        return expanded.seconds / walked.seconds;
    });
    return {"expand_vs_walk", ratios, "ratio", 1.2, "lower"};
}

BenchResult measureExpandGrowth(const std::wstring& tree)
{
    const std::vector<std::wstring> parts = listFolders(tree);
    time(expand, tree);
    const Rounds ratios = runRounds(kRounds, [&] {
        Timing inParts = {0, 0};
        for (const std::wstring& part : parts) {
            const Timing timing = time(expand, part);
            inParts.seconds += timing.seconds;
            inParts.files += timing.files;
        }
        const Timing atOnce = time(expand, tree);
        if (atOnce.files != inParts.files)
            throw std::runtime_error("the parts are not the tree");
        return atOnce.seconds / inParts.seconds;
    });
    return {"expand_growth", ratios, "ratio", 1.1, "lower"};
}

BenchResult measureExpandBytesPerFile(const std::wstring& tree)
{
    const Rounds bytes = runRounds(kRounds, [&] {
        const std::int64_t before = memoryInUse();
        resetMemoryPeak();
        const std::size_t files = expand(tree);
        return static_cast<double>(memoryPeak() - before) / static_cast<double>(files);
    });
    return {"expand_bytes_per_file", bytes, "bytes", 400, "lower"};
}
