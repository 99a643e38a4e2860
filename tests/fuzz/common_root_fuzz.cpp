// A selection of paths.
#include "file_utilities/common_root.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>

#include "fuzz_check.h"

namespace {

bool isBeginning(const std::string& beginning, const std::string& text)
{
    return text.compare(0, beginning.size(), beginning) == 0;
}

// Whether there is nothing to cut: one path begins all others, or there is no first path.
bool isRefused(const std::vector<std::string>& paths)
{
    if (paths.empty() || paths.front().empty())
        return true;
    const auto& shortest = *std::min_element(
        paths.begin(), paths.end(), [](const std::string& a, const std::string& b) { return a.size() < b.size(); });
    return paths.size() > 1 && std::all_of(paths.begin(), paths.end(), [&shortest](const std::string& path) {
               return isBeginning(shortest, path);
           });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    constexpr std::size_t kMostPaths = 8;
    FuzzedDataProvider input(data, size);
    std::vector<std::string> paths;
    while (input.remaining_bytes() > 0 && paths.size() < kMostPaths)
        paths.push_back(input.ConsumeRandomLengthString(64));

    std::string root = "untouched";
    const int result = sd::clip::FindCommonRoot(paths, root);
    require(result == (isRefused(paths) ? -1 : 0), "a selection is refused if one path begins all others");
    if (result != 0) {
        require(root == "untouched", "a refusal tells no root");
        return 0;
    }
    for (const std::string& path : paths)
        require(isBeginning(root, path), "all paths begin with the root");
    require(root.empty() || root.back() != '\\', "no backslash stands at its end");
    std::string first = paths.front();
    first.resize(first.find_last_not_of('\\') + 1);
    const std::size_t last = first.rfind('\\');
    require(root.size() <= (last == std::string::npos ? 0 : last), "the root ends before the name of the first path");
    return 0;
}
