#include "data_object/slice_path.h"

#include <algorithm>

#include "base/md5.h"
#include "file_utilities/replace_all.h"

namespace sd::clip {

namespace {

constexpr std::size_t kDigestDigits = 32;

// @return 0 to 15; nothing for what is no hexadecimal digit
std::optional<std::uint64_t> valueOfDigit(wchar_t digit)
{
    if (digit >= L'0' && digit <= L'9')
        return static_cast<std::uint64_t>(digit - L'0');
    if (digit >= L'a' && digit <= L'f')
        return static_cast<std::uint64_t>(digit - L'a' + 10);
    if (digit >= L'A' && digit <= L'F')
        return static_cast<std::uint64_t>(digit - L'A' + 10);
    return std::nullopt;
}

template <class Text>
std::optional<SliceDigest> parseDigits(const Text& digits)
{
    SliceDigest digest = {};
    for (std::size_t i = 0; i < digits.size(); ++i) {
        const auto value = valueOfDigit(static_cast<wchar_t>(digits[i]));
        if (!value)
            return std::nullopt;
        std::uint64_t& half = digest[i / (kDigestDigits / 2)];
        half = half << 4 | *value;
    }
    return digest;
}

bool isDecimal(wchar_t digit)
{
    return digit >= L'0' && digit <= L'9';
}

}  // namespace

std::string MakeSlicePath(const std::string& cacheDirectory, const std::string& fileKey, std::int32_t index)
{
    // Whatever text stands for a file, its slices lie in the cache directory itself and not in a folder below it.
    const std::string name = ReplaceAll(Md5Hex(fileKey), "/", "_");
    return cacheDirectory + name + "." + std::to_string(index);
}

SliceDigest DigestOfKey(const std::string& fileKey)
{
    return parseDigits(Md5Hex(fileKey)).value_or(SliceDigest());
}

std::optional<SliceDigest> ParseSliceName(std::wstring_view name)
{
    if (name.size() < kDigestDigits + 2 || name[kDigestDigits] != L'.')
        return std::nullopt;
    const std::wstring_view index = name.substr(kDigestDigits + 1);
    if (!std::all_of(index.begin(), index.end(), isDecimal))
        return std::nullopt;
    return parseDigits(name.substr(0, kDigestDigits));
}

}  // namespace sd::clip
