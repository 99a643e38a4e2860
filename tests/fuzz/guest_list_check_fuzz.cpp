// A list as a hostile guest may give it. What passes must stay in the folder that it is pasted into.
#include "file_utilities/guest_list_check.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>

#include "file_utilities/file_names.h"
#include "fuzz_check.h"

namespace {

using sd::clip::ClipfileDescription;
using sd::clip::PasteRoute;

constexpr std::uint64_t kSizeLimit = std::uint64_t{1} << 63;

// UTF-8 to UTF-16 as the platform does it: a byte at a time, with the least count of replacement characters that a
// decoder may make of what is no text. Shares nothing with the unit.
class Decoder {
public:
    std::u16string decode(const std::string& text)
    {
        for (const char byte : text)
            take(static_cast<unsigned char>(byte));
        giveUp();
        return mUnits;
    }

private:
    void take(unsigned byte)
    {
        if (mAwaited > 0 && (byte < mLow || byte > mHigh))
            giveUp();
        if (mAwaited == 0) {
            begin(byte);
            return;
        }
        mLow = 0x80;
        mHigh = 0xBF;
        mValue = mValue << 6 | (byte & 0x3F);
        if (--mAwaited == 0)
            put();
    }

    void begin(unsigned byte)
    {
        mLow = byte == 0xE0 ? 0xA0 : byte == 0xF0 ? 0x90 : 0x80;
        mHigh = byte == 0xED ? 0x9F : byte == 0xF4 ? 0x8F : 0xBF;
        mValue = byte;
        if (byte < 0x80) {
            put();
        } else if (byte >= 0xC2 && byte <= 0xDF) {
            await(1, byte & 0x1F);
        } else if (byte >= 0xE0 && byte <= 0xEF) {
            await(2, byte & 0x0F);
        } else if (byte >= 0xF0 && byte <= 0xF4) {
            await(3, byte & 0x07);
        } else {
            mUnits += u'\uFFFD';
        }
    }

    void await(int count, unsigned value)
    {
        mAwaited = count;
        mValue = value;
    }

    void put()
    {
        if (mValue >= 0x10000) {
            mUnits += static_cast<char16_t>(0xD800 + ((mValue - 0x10000) >> 10));
            mUnits += static_cast<char16_t>(0xDC00 + (mValue & 0x3FF));
        } else {
            mUnits += static_cast<char16_t>(mValue);
        }
    }

    void giveUp()
    {
        if (mAwaited > 0)
            mUnits += u'\uFFFD';
        mAwaited = 0;
    }

    std::u16string mUnits;
    int mAwaited = 0;
    unsigned mValue = 0;
    unsigned mLow = 0;
    unsigned mHigh = 0;
};

bool isSeparator(char16_t unit)
{
    return unit == u'\\' || unit == u'/';
}

// Joins the name to a folder and resolves it component by component. A whole path would replace the folder.
bool staysInside(const std::u16string& name)
{
    const bool isWholePath = !name.empty() && isSeparator(name[0]);
    const bool hasDrive = name.size() > 1 && name[1] == u':';
    if (isWholePath || hasDrive)
        return false;
    int depth = 0;
    std::u16string component;
    for (const char16_t unit : name + u'\\') {
        if (!isSeparator(unit)) {
            component += unit;
            continue;
        }
        if (component == u"..")
            --depth;
        else if (!component.empty() && component != u".")
            ++depth;
        if (depth < 0)
            return false;
        component.clear();
    }
    return true;
}

std::vector<ClipfileDescription> makeList(FuzzedDataProvider& input)
{
    constexpr std::size_t kMostFiles = 8;
    std::vector<ClipfileDescription> files;
    while (input.remaining_bytes() > 0 && files.size() < kMostFiles) {
        ClipfileDescription file;
        file.size = input.ConsumeBool() ? input.ConsumeIntegral<std::uint64_t>() : 1;
        file.relativePath = input.ConsumeRandomLengthString(300);
        file.fileName = input.ConsumeRandomLengthString(300);
        files.push_back(file);
    }
    return files;
}

void checkPassed(const std::vector<ClipfileDescription>& files, PasteRoute route)
{
    std::uint64_t left = kSizeLimit;
    for (const ClipfileDescription& file : files) {
        const std::string name = sd::clip::GetRelativeName(file);
        const std::string shown = name.substr(0, name.find('\0'));
        require(name.find_last_not_of('\0') + 1 == shown.size(), "a NUL ends the name");
        const std::u16string decoded = Decoder().decode(shown);
        require(staysInside(decoded), "what passes stays in the folder that it is joined to");
        require(route == PasteRoute::kPlaceholder || decoded.size() < 260, "a streamed name fits its descriptor");
        require(file.size < left, "all sums stay below 2^63");
        left -= file.size;
    }
}

// Nothing is refused without a reason: a name of letters alone is honest.
bool isPlain(const ClipfileDescription& file)
{
    const std::string name = file.relativePath + file.fileName;
    return file.size <= 1 && name.size() < 250 &&
           std::all_of(name.begin(), name.end(), [](char byte) { return byte >= 'a' && byte <= 'z'; });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzedDataProvider input(data, size);
    const PasteRoute route = input.ConsumeBool() ? PasteRoute::kStreamed : PasteRoute::kPlaceholder;
    const std::vector<ClipfileDescription> files = makeList(input);
    for (const ClipfileDescription& file : files)
        require(sd::clip::CountUtf16Units(file.fileName) >= Decoder().decode(file.fileName).size(),
                "a count of units is never too small");

    const auto refused = sd::clip::FindRefusedEntry(files, route);
    if (refused) {
        require(refused->position < files.size() && refused->reason != nullptr, "a refusal names an entry");
        const std::vector<ClipfileDescription> before(files.begin(),
                                                      files.begin() + static_cast<std::ptrdiff_t>(refused->position));
        require(!sd::clip::FindRefusedEntry(before, route), "it is the first one");
        require(!isPlain(files[refused->position]) || !before.empty(), "a plain name passes");
        return 0;
    }
    checkPassed(files, route);
    return 0;
}
