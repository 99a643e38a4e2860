#include "file_utilities/guest_list_check.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>

#include "honest_guest_names.h"
#include "hostile_guest_names.h"

namespace sd::clip {
namespace {

using namespace std::string_literals;

constexpr std::uint64_t kTwoTo63 = std::uint64_t{1} << 63;

ClipfileDescription makeFile(std::string relativePath, std::string fileName, std::uint64_t size = 0)
{
    ClipfileDescription file;
    file.relativePath = std::move(relativePath);
    file.fileName = std::move(fileName);
    file.size = size;
    return file;
}

std::optional<RefusedEntry> findInOne(const ClipfileDescription& file, PasteRoute route = PasteRoute::kStreamed)
{
    return FindRefusedEntry({file}, route);
}

std::string reasonOf(const std::string& name)
{
    const char* const reason = DescribeEscape(name);
    return reason != nullptr ? reason : "";
}

std::string expectedReason(NameVerdict verdict)
{
    switch (verdict) {
        case NameVerdict::kParent:
            return "its name leads to a parent folder";
        case NameVerdict::kSeparator:
            return "its name begins with a separator";
        case NameVerdict::kDrive:
            return "its name begins with a drive";
        case NameVerdict::kNul:
            return "its name goes on behind a NUL";
        default:
            return "";
    }
}

std::string reasonInList(const GuestNameCase& name, PasteRoute route)
{
    const auto refused = findInOne(makeFile(name.relativePath, name.fileName), route);
    return refused ? refused->reason : "";
}

void expectVerdicts(const std::vector<GuestNameCase>& names)
{
    for (const GuestNameCase& name : names) {
        const std::string shown =
            testing::PrintToString(name.relativePath) + " and " + testing::PrintToString(name.fileName);
        EXPECT_EQ(expectedReason(name.verdict), reasonInList(name, PasteRoute::kStreamed)) << shown;
        EXPECT_EQ(expectedReason(name.verdict), reasonInList(name, PasteRoute::kPlaceholder)) << shown;
    }
}

TEST(GuestNames, HonestNamesOfAnySystemPass)
{
    expectVerdicts(makeHonestGuestNames());
}

TEST(GuestNames, NamesThatCouldLeaveTheirFolderAreRefusedWithTheReason)
{
    expectVerdicts(makeHostileGuestNames());
}

TEST(GuestNames, OneHostileNameAmongHonestOnesIsFound)
{
    std::vector<ClipfileDescription> files;
    for (const GuestNameCase& name : makeHonestGuestNames())
        files.push_back(makeFile(name.relativePath, name.fileName));
    const std::size_t position = files.size() / 2;
    EXPECT_FALSE(FindRefusedEntry(files, PasteRoute::kStreamed));
    for (const GuestNameCase& name : makeHostileGuestNames()) {
        files.insert(files.begin() + static_cast<std::ptrdiff_t>(position), makeFile(name.relativePath, name.fileName));
        const auto refused = FindRefusedEntry(files, PasteRoute::kStreamed);
        ASSERT_TRUE(refused);
        EXPECT_EQ(position, refused->position);
        files.erase(files.begin() + static_cast<std::ptrdiff_t>(position));
    }
}

TEST(DescribeEscape, TerminatorsAtTheEndAreNotPartOfTheName)
{
    EXPECT_EQ("", reasonOf("a\0"s));
    EXPECT_EQ("", reasonOf("\0"s));
    EXPECT_EQ("its name leads to a parent folder", reasonOf("a\\..\0"s));
    EXPECT_EQ("its name goes on behind a NUL", reasonOf("a\0\0b\0"s));
}

TEST(CountUtf16Units, IsWhatCharactersNeed)
{
    EXPECT_EQ(0u, CountUtf16Units(""));
    EXPECT_EQ(3u, CountUtf16Units("abc"));
    EXPECT_EQ(2u, CountUtf16Units("\xC3\xA9\xE2\x82\xAC"));
    EXPECT_EQ(2u, CountUtf16Units("\xF0\x9F\x93\x84"));
    EXPECT_EQ(4u, CountUtf16Units("\xEE\x80\x80\xED\x9F\xBF\xF4\x8F\xBF\xBF"));
}

TEST(CountUtf16Units, CountsEachByteThatIsNoPartOfACharacter)
{
    EXPECT_EQ(1u, CountUtf16Units("\xFF"));
    EXPECT_EQ(1u, CountUtf16Units("\xC3"));  // cut off
    EXPECT_EQ(2u, CountUtf16Units("\xC3"
                                  "a"));                 // broken off
    EXPECT_EQ(2u, CountUtf16Units("\xC0\xAE"));          // overlong
    EXPECT_EQ(3u, CountUtf16Units("\xE0\x80\xAE"));      // overlong
    EXPECT_EQ(3u, CountUtf16Units("\xED\xA0\x80"));      // a surrogate
    EXPECT_EQ(4u, CountUtf16Units("\xF0\x80\x80\xAE"));  // overlong
    EXPECT_EQ(4u, CountUtf16Units("\xF4\x90\x80\x80"));  // beyond the last character
    EXPECT_EQ(3u, CountUtf16Units("\xE2\x82"
                                  "a"));
}

TEST(FindRefusedEntry, TellsTheFirstBadEntry)
{
    EXPECT_FALSE(FindRefusedEntry({}, PasteRoute::kStreamed));
    const auto refused =
        FindRefusedEntry({makeFile("", "good"), makeFile("sub", "good"), makeFile("..", "bad"), makeFile("C:", "bad")},
                         PasteRoute::kStreamed);
    ASSERT_TRUE(refused);
    EXPECT_EQ(2u, refused->position);
    EXPECT_STREQ("its name leads to a parent folder", refused->reason);
}

TEST(FindRefusedEntry, LooksAtPathAndNameTogether)
{
    EXPECT_TRUE(findInOne(makeFile("", "..")));
    EXPECT_TRUE(findInOne(makeFile("sub", "..")));
    EXPECT_TRUE(findInOne(makeFile("sub\0"s, "name")));
    EXPECT_TRUE(findInOne(makeFile("D:\\sub", "of two drives")));
    EXPECT_FALSE(findInOne(makeFile("sub.", ".name")));
    EXPECT_FALSE(findInOne(makeFile("sub", "C:a")));
    EXPECT_FALSE(findInOne(makeFile("sub", "name\0"s)));
}

TEST(FindRefusedEntry, ANameOf260UnitsIsTooLongForTheStreamedRouteOnly)
{
    const ClipfileDescription fits = makeFile("sub", std::string(255, 'a'));
    const ClipfileDescription tooLong = makeFile("sub", std::string(256, 'a'));
    EXPECT_FALSE(findInOne(fits));
    ASSERT_TRUE(findInOne(tooLong));
    EXPECT_STREQ("its name is too long", findInOne(tooLong)->reason);
    EXPECT_FALSE(findInOne(tooLong, PasteRoute::kPlaceholder));
    EXPECT_FALSE(findInOne(makeFile("sub", std::string(255, 'a') + "\0\0"s)));
}

TEST(FindRefusedEntry, CountsUnitsAndNotBytes)
{
    std::string name;
    for (int i = 0; i < 259; ++i)
        name += "\xD0\xB6";
    EXPECT_FALSE(findInOne(makeFile("", name)));
    EXPECT_TRUE(findInOne(makeFile("", name + "a")));
}

TEST(FindRefusedEntry, SizesAndTheirSumStayBelowTwoTo63)
{
    EXPECT_FALSE(findInOne(makeFile("", "a", kTwoTo63 - 1)));
    ASSERT_TRUE(findInOne(makeFile("", "a", kTwoTo63)));
    EXPECT_STREQ("its size is too large", findInOne(makeFile("", "a", kTwoTo63))->reason);
    EXPECT_TRUE(findInOne(makeFile("", "a", UINT64_MAX), PasteRoute::kPlaceholder));

    const auto half = makeFile("", "a", kTwoTo63 / 2);
    EXPECT_FALSE(FindRefusedEntry({half, makeFile("", "b", kTwoTo63 / 2 - 1)}, PasteRoute::kStreamed));
    const auto refused = FindRefusedEntry({half, half, half}, PasteRoute::kStreamed);
    ASSERT_TRUE(refused);
    EXPECT_EQ(1u, refused->position);
    EXPECT_STREQ("the sizes are too large", refused->reason);
}

}  // namespace
}  // namespace sd::clip
