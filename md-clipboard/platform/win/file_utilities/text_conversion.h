// The two calls of a conversion between encodings: measure, then convert. The platform's function is passed in.
#pragma once

#include <climits>
#include <cstddef>
#include <string>
#include <string_view>

namespace sd::clip {

// @param text converted with its explicit length, so a terminator is neither needed nor added
// @param convert int(const From* text, int length, To* output, int capacity): the count of units; with a null output,
//                the count that is needed; not above 0 if it failed
// @return the converted text; empty if the input is empty or too long for the platform, or if a call failed
template <class To, class From, class Convert>
std::basic_string<To> ConvertText(std::basic_string_view<From> text, Convert convert)
{
    // The platform takes a length of 0 for an error.
    if (text.empty() || text.size() > static_cast<std::size_t>(INT_MAX))
        return {};
    const int length = static_cast<int>(text.size());
    const int needed = convert(text.data(), length, static_cast<To*>(nullptr), 0);
    if (needed <= 0)
        return {};
    std::basic_string<To> converted(static_cast<std::size_t>(needed), To());
    const int written = convert(text.data(), length, converted.data(), needed);
    if (written <= 0)
        return {};
    if (written < needed)
        converted.resize(static_cast<std::size_t>(written));
    return converted;
}

}  // namespace sd::clip
