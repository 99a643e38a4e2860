// A text to look for, its replacement, and the text that is searched.
#include "file_utilities/replace_all.h"

#include <fuzzer/FuzzedDataProvider.h>

#include "fuzz_check.h"

namespace {

// From left to right, a byte at a time.
std::string replacePlainly(const std::string& source, const std::string& text, const std::string& replacement)
{
    std::string result;
    for (std::size_t at = 0; at < source.size();) {
        const bool isFound = !text.empty() && source.compare(at, text.size(), text) == 0;
        result += isFound ? replacement : source.substr(at, 1);
        at += isFound ? text.size() : 1;
    }
    return result;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzedDataProvider input(data, size);
    const std::string text = input.ConsumeRandomLengthString(8);
    const std::string replacement = input.ConsumeRandomLengthString(16);
    const std::string source = input.ConsumeRemainingBytesAsString();
    require(sd::clip::ReplaceAll(source, text, replacement) == replacePlainly(source, text, replacement),
            "each occurrence is replaced once, from left to right");
    return 0;
}
