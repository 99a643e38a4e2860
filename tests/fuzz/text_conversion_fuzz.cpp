// The two calls of a conversion against a platform that may fail either, and may need less the second time.
#include "file_utilities/text_conversion.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>

#include "fuzz_check.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzedDataProvider input(data, size);
    const int needed = input.ConsumeIntegralInRange(-2, 300);
    const int written = input.ConsumeIntegralInRange(-2, std::max(needed, -2));
    const std::string text = input.ConsumeRemainingBytesAsString();

    int calls = 0;
    const auto convert = [&](const char* source, int length, char16_t* output, int capacity) {
        ++calls;
        require(std::string_view(source, static_cast<std::size_t>(length)) == text, "the whole text is converted");
        require((output == nullptr) == (capacity == 0), "a capacity is told with an output only");
        if (output == nullptr)
            return needed;
        require(capacity == needed, "the output has the size that was asked for");
        for (int i = 0; i < written; ++i)
            output[i] = static_cast<char16_t>(i + 1);
        return written;
    };
    const std::u16string converted = sd::clip::ConvertText<char16_t>(std::string_view(text), convert);

    require(calls == (text.empty() ? 0 : needed > 0 ? 2 : 1), "no call is made for nothing");
    const bool isConverted = !text.empty() && needed > 0 && written > 0;
    require(converted.size() == (isConverted ? static_cast<std::size_t>(written) : 0),
            "the result is what was written");
    for (std::size_t i = 0; i < converted.size(); ++i)
        require(converted[i] == i + 1, "each unit is where the platform put it");
    return 0;
}
