// A cache directory, the key of a file and the position of a slice.
#include "data_object/slice_path.h"

#include <fuzzer/FuzzedDataProvider.h>

#include "base/md5.h"
#include "fuzz_check.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzedDataProvider input(data, size);
    const auto index = input.ConsumeIntegral<std::int32_t>();
    const std::string directory = input.ConsumeRandomLengthString(64);
    const std::string key = input.ConsumeRemainingBytesAsString();

    constexpr std::size_t kDigits = 32;
    const std::string path = sd::clip::MakeSlicePath(directory, key, index);
    require(path.compare(0, directory.size(), directory) == 0, "the path begins with the directory as it is");
    const std::string name = path.substr(directory.size());
    require(name.find_first_not_of("0123456789abcdef") == kDigits && name[kDigits] == '.',
            "whatever the key is, the name is 32 digits and a dot");
    require(name.substr(0, kDigits) == sd::clip::Md5Hex(key), "the digits are the key's");
    require(std::stol(name.substr(kDigits + 1)) == index, "the index stands at the end");
    return 0;
}
