// The first byte is the delimiter, the rest is the text.
#include "file_clipboard_lazy_renderer/drive_list.h"

#include <cstdint>

#include "fuzz_check.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0)
        return 0;
    const auto delimiter = static_cast<wchar_t>(data[0]);
    const std::wstring text(data + 1, data + size);

    std::vector<std::wstring> expected;
    bool isInside = false;
    for (const wchar_t unit : text) {
        if (unit != delimiter && !isInside)
            expected.emplace_back();
        isInside = unit != delimiter;
        if (isInside)
            expected.back() += unit;
    }
    require(sd::clip::splitByDelimiter(text, delimiter) == expected, "the parts are what stands between delimiters");
    return 0;
}
