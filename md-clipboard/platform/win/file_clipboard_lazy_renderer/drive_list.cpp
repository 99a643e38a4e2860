#include "file_clipboard_lazy_renderer/drive_list.h"

namespace sd::clip {

std::vector<std::wstring> splitByDelimiter(const std::wstring& text, wchar_t delimiter)
{
    std::vector<std::wstring> parts;
    std::size_t end = 0;
    for (;;) {
        const std::size_t begin = text.find_first_not_of(delimiter, end);
        if (begin == std::wstring::npos)
            return parts;
        end = text.find(delimiter, begin);
        parts.push_back(text.substr(begin, end - begin));
        if (end == std::wstring::npos)
            return parts;
    }
}

}  // namespace sd::clip
