// Where a pasted entry goes, by its name alone: below the destination, or nowhere.
#include "relative_name.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

namespace {

using Place = std::optional<std::wstring>;

const Place kRefused;

struct Name {
    std::wstring name;
    Place place;
};

void expectPlaces(const std::vector<Name>& names)
{
    for (const Name& each : names)
        EXPECT_TRUE(findPlaceBelow(each.name) == each.place)
            << "\"" << testing::PrintToString(each.name)
            << "\" goes to: " << testing::PrintToString(findPlaceBelow(each.name).value_or(L"(refused)"));
}

}  // namespace

TEST(FindPlaceBelow, AnHonestNameStaysAsItIs)
{
    expectPlaces({
        {L"a", L"a"},
        {L"a.txt", L"a.txt"},
        {L"folder\\a.txt", L"folder\\a.txt"},
        {L"gr\u00FC\u00DF\\\u65E5\u672C.txt", L"gr\u00FC\u00DF\\\u65E5\u672C.txt"},
        {L" a b ", L" a b "},
        {std::wstring(300, L'x'), std::wstring(300, L'x')},
    });
}

TEST(FindPlaceBelow, SeparatorsOfEitherKindAndRowsOfThemBecomeSingleBackslashes)
{
    expectPlaces({
        {L"a/b", L"a\\b"},
        {L"a/b\\c", L"a\\b\\c"},
        {L"a//b", L"a\\b"},
        {L"a\\\\/\\b", L"a\\b"},
        {L"folder\\", L"folder"},
        {L"folder//", L"folder"},
    });
}

TEST(FindPlaceBelow, ComponentsThatMeanTheirOwnFolderVanish)
{
    expectPlaces({
        {L".\\a", L"a"},
        {L"a\\.\\b", L"a\\b"},
        {L"a/./././b", L"a\\b"},
        {L"a\\.", L"a"},
    });
}

TEST(FindPlaceBelow, PointsInsideNamesAreHonest)
{
    expectPlaces({
        {L"..a", L"..a"},
        {L"a..", L"a.."},
        {L"a..b\\c", L"a..b\\c"},
        {L"...", L"..."},
        {L".hidden", L".hidden"},
        {L".. ", L".. "},  // kept as it is by paths of any length, which this program makes
    });
}

TEST(FindPlaceBelow, AParentComponentIsRefusedWhereverItStands)
{
    expectPlaces({
        {L"..", kRefused},
        {L"..\\a", kRefused},
        {L"../a", kRefused},
        {L"a\\..", kRefused},
        {L"a/..", kRefused},
        {L"a\\..\\b", kRefused},
        {L"a/../b", kRefused},
        {L"a\\../b", kRefused},
        {L"a/..\\b", kRefused},
        {L".\\..\\a", kRefused},
        {L"a\\\\..\\\\b", kRefused},
        {L"a\\b\\..\\c", kRefused},  // stays inside, but no honest list has it
    });
}

TEST(FindPlaceBelow, ALeadingSeparatorIsRefused)
{
    expectPlaces({
        {L"\\a", kRefused},
        {L"/a", kRefused},
        {L"\\", kRefused},
        {L"/", kRefused},
        {L"\\\\server\\share\\a", kRefused},
        {L"//server/share/a", kRefused},
        {L"\\\\?\\C:\\a", kRefused},
        {L"\\\\.\\pipe\\a", kRefused},
    });
}

TEST(FindPlaceBelow, ADriveIsRefusedWithAndWithoutASeparator)
{
    expectPlaces({
        {L"C:", kRefused},
        {L"C:\\a", kRefused},
        {L"C:/a", kRefused},
        {L"C:a", kRefused},
        {L"z:a", kRefused},
        {L"c:..\\a", kRefused},
    });
}

TEST(FindPlaceBelow, ANulIsRefused)
{
    expectPlaces({
        {std::wstring(L"a\0", 2), kRefused},
        {std::wstring(L"a\0\\..\\b", 7), kRefused},
        {std::wstring(1, L'\0'), kRefused},
    });
}

TEST(FindPlaceBelow, ANameOfNothingIsRefused)
{
    expectPlaces({
        {L"", kRefused},
        {L".", kRefused},
        {L".\\", kRefused},
        {L"././.", kRefused},
    });
}

TEST(FindPlaceBelow, WhatItGivesNeverLeadsOut)
{
    // all names of up to five units of an alphabet that has everything that could lead out
    const std::wstring alphabet = L"aC:.\\/";
    for (std::size_t length = 1, count = alphabet.size(); length <= 5; ++length, count *= alphabet.size()) {
        for (std::size_t number = 0; number < count; ++number) {
            std::wstring name;
            for (std::size_t i = 0, rest = number; i < length; ++i, rest /= alphabet.size())
                name += alphabet[rest % alphabet.size()];
            const Place place = findPlaceBelow(name);
            if (!place)
                continue;
            const std::wstring framed = L"\\" + *place + L"\\";
            ASSERT_EQ(framed.find(L"\\\\"), std::wstring::npos) << testing::PrintToString(name);
            ASSERT_EQ(framed.find(L"\\..\\"), std::wstring::npos) << testing::PrintToString(name);
            ASSERT_EQ(framed.find(L"\\.\\"), std::wstring::npos) << testing::PrintToString(name);
            ASSERT_EQ(place->find(L'/'), std::wstring::npos) << testing::PrintToString(name);
        }
    }
}
