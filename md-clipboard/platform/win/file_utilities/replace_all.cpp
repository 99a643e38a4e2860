#include "file_utilities/replace_all.h"

namespace sd::clip {

std::string ReplaceAll(std::string source, const std::string& text, const std::string& replacement)
{
    if (text.empty())
        return source;
    std::size_t position = 0;
    while ((position = source.find(text, position)) != std::string::npos) {
        source.replace(position, text.size(), replacement);
        position += replacement.size();
    }
    return source;
}

}  // namespace sd::clip
