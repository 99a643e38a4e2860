#include "file_utilities/encoding.h"

#include <windows.h>

#include "file_utilities/text_conversion.h"

namespace sd::clip {

std::wstring Utf8ToWide(std::string_view text)
{
    return ConvertText<wchar_t>(text, [](const char* input, int length, wchar_t* output, int capacity) {
        return MultiByteToWideChar(CP_UTF8, 0, input, length, output, capacity);
    });
}

std::string WideToUtf8(std::wstring_view text)
{
    return ConvertText<char>(text, [](const wchar_t* input, int length, char* output, int capacity) {
        return WideCharToMultiByte(CP_UTF8, 0, input, length, output, capacity, nullptr, nullptr);
    });
}

}  // namespace sd::clip
