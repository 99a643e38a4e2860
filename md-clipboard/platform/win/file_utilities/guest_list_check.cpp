#include "file_utilities/guest_list_check.h"

#include <algorithm>
#include <iterator>

#include "file_utilities/file_names.h"

namespace sd::clip {

namespace {

constexpr std::string_view kSeparators = "\\/";
constexpr std::uint64_t kSizeLimit = std::uint64_t{1} << 63;  // sizes are signed on their way through the library
constexpr std::size_t kDescriptorNameLimit = 260;             // units of cFileName with its terminator (MAX_PATH)

// The well-formed characters of UTF-8 by their first byte, with what their second byte may be. All further bytes are
// 0x80 to 0xBF. What is no such row, overlong forms and surrogates among it, is no character.
struct CharacterRow {
    unsigned char firstLow, firstHigh, secondLow, secondHigh;
    std::size_t length;
};
constexpr CharacterRow kCharacters[] = {
    {0x00, 0x7F, 0x00, 0xFF, 1}, {0xC2, 0xDF, 0x80, 0xBF, 2}, {0xE0, 0xE0, 0xA0, 0xBF, 3},
    {0xE1, 0xEC, 0x80, 0xBF, 3}, {0xED, 0xED, 0x80, 0x9F, 3}, {0xEE, 0xEF, 0x80, 0xBF, 3},
    {0xF0, 0xF0, 0x90, 0xBF, 4}, {0xF1, 0xF3, 0x80, 0xBF, 4}, {0xF4, 0xF4, 0x80, 0x8F, 4},
};

constexpr std::size_t kLongestCharacter = 4;

bool isBetween(char byte, unsigned char low, unsigned char high)
{
    const auto value = static_cast<unsigned char>(byte);
    return low <= value && value <= high;
}

// Bytes of the character at the start of the text; 0 if there is none.
std::size_t measureCharacter(std::string_view text)
{
    for (const CharacterRow& row : kCharacters) {
        if (!isBetween(text[0], row.firstLow, row.firstHigh))
            continue;
        if (row.length == 1)
            return 1;
        const std::string_view rest = text.substr(1, row.length - 1);
        const bool isWhole =
            rest.size() == row.length - 1 && isBetween(rest[0], row.secondLow, row.secondHigh) &&
            std::all_of(rest.begin(), rest.end(), [](char byte) { return isBetween(byte, 0x80, 0xBF); });
        return isWhole ? row.length : 0;
    }
    return 0;
}

// Spaces behind the last component are no part of it for the platform.
bool hasParentComponent(std::string_view name)
{
    name = name.substr(0, name.find_last_not_of(' ') + 1);
    for (std::size_t begin = 0; begin <= name.size();) {
        const std::size_t end = std::min(name.find_first_of(kSeparators, begin), name.size());
        if (name.substr(begin, end - begin) == "..")
            return true;
        begin = end + 1;
    }
    return false;
}

// Whether the text is a character without its end, of which the platform makes one unit as a whole.
bool isCutOff(std::string_view text)
{
    // Behind some first bytes only low or only high bytes may follow.
    constexpr const char* kRests[] = {"\x80\x80\x80", "\xBF\xBF\xBF"};
    const std::string begun(text.substr(0, kLongestCharacter));
    return std::any_of(std::begin(kRests), std::end(kRests),
                       [&](const char* rest) { return measureCharacter(begun + rest) > text.size(); });
}

// The platform takes any one unit before a colon for a drive, not only a letter.
bool beginsWithDrive(std::string_view name)
{
    const std::size_t colon = name.find(':', 1);
    if (colon == std::string_view::npos)
        return false;
    const std::string_view drive = name.substr(0, colon);
    return CountUtf16Units(drive) == 1 || isCutOff(drive);
}

const char* describeName(std::string_view name, PasteRoute route)
{
    if (const char* const escape = DescribeEscape(name))
        return escape;
    const std::string_view shown = name.substr(0, name.find('\0'));
    const bool isTooLong = route == PasteRoute::kStreamed && CountUtf16Units(shown) >= kDescriptorNameLimit;
    return isTooLong ? "its name is too long" : nullptr;
}

}  // namespace

std::size_t CountUtf16Units(std::string_view utf8)
{
    std::size_t units = 0;
    while (!utf8.empty()) {
        const std::size_t length = measureCharacter(utf8);
        units += length == kLongestCharacter ? 2 : 1;  // those beyond 16 bits have two units
        utf8.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return units;
}

const char* DescribeEscape(std::string_view relativeName)
{
    // A terminator at the end is honest: local drop lists carry one too. The rest of the name stands before it.
    const std::string_view name = relativeName.substr(0, relativeName.find('\0'));
    if (relativeName.find_first_not_of('\0', name.size()) != std::string_view::npos)
        return "its name goes on behind a NUL";
    if (!name.empty() && kSeparators.find(name.front()) != std::string_view::npos)
        return "its name begins with a separator";
    if (beginsWithDrive(name))
        return "its name begins with a drive";
    return hasParentComponent(name) ? "its name leads to a parent folder" : nullptr;
}

std::optional<RefusedEntry> FindRefusedEntry(const std::vector<ClipfileDescription>& files, PasteRoute route)
{
    std::uint64_t sum = 0;
    for (std::size_t i = 0; i < files.size(); ++i) {
        if (const char* const reason = describeName(GetRelativeName(files[i]), route))
            return RefusedEntry{i, reason};
        if (files[i].size >= kSizeLimit - sum)
            return RefusedEntry{i, files[i].size >= kSizeLimit ? "its size is too large" : "the sizes are too large"};
        sum += files[i].size;
    }
    return std::nullopt;
}

}  // namespace sd::clip
