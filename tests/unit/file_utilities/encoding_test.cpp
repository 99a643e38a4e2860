#include "file_utilities/encoding.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <vector>

#include "support/import_hook.h"

namespace sd::clip {
namespace {

struct Call {
    UINT codePage;
    DWORD flags;
    int length;
    bool hasDefault;
};

std::vector<Call>& calls()
{
    static std::vector<Call> calls;
    return calls;
}

TEST(Utf8ToWide, AnEmptyTextStaysEmpty)
{
    EXPECT_EQ(L"", Utf8ToWide(""));
}

TEST(WideToUtf8, AnEmptyTextStaysEmpty)
{
    EXPECT_EQ("", WideToUtf8(L""));
}

TEST(Encoding, CharactersOfAllLengthsSurviveBothConversions)
{
    const std::string narrow = "a\xC3\xA4\xE2\x82\xAC";
    const std::wstring wide = L"a\u00E4\u20AC";
    EXPECT_EQ(wide, Utf8ToWide(narrow));
    EXPECT_EQ(narrow, WideToUtf8(wide));
}

TEST(Encoding, ACharacterOutsideTheBasicPlaneIsFourBytesAndTwoUnits)
{
    const std::string narrow = "\xF0\x9F\x98\x80";
    const std::wstring wide = Utf8ToWide(narrow);
    ASSERT_EQ(2u, wide.size());
    EXPECT_EQ(0xD83D, wide[0]);
    EXPECT_EQ(0xDE00, wide[1]);
    EXPECT_EQ(narrow, WideToUtf8(wide));
}

TEST(Utf8ToWide, AnInvalidByteBecomesTheReplacementCharacter)
{
    EXPECT_EQ(L"\uFFFD", Utf8ToWide("\xFF"));
}

TEST(WideToUtf8, ALoneSurrogateBecomesTheReplacementCharacter)
{
    EXPECT_EQ(
        "a\xEF\xBF\xBD"
        "b",
        WideToUtf8(std::wstring{L'a', 0xD800, L'b'}));
}

TEST(Encoding, NoTerminatorIsAddedAndOneInsideIsKept)
{
    EXPECT_EQ(3u, Utf8ToWide("abc").size());
    EXPECT_EQ(std::wstring(L"a\0b", 3), Utf8ToWide(std::string("a\0b", 3)));
    EXPECT_EQ(std::string("a\0b", 3), WideToUtf8(std::wstring(L"a\0b", 3)));
}

TEST(Utf8ToWide, AsksForUtf8WithoutFlagsAndWithTheLength)
{
    calls().clear();
    using Function = decltype(&MultiByteToWideChar);
    static Function real;
    ImportHook<Function> hook(
        nullptr, "MultiByteToWideChar",
        +[](UINT codePage, DWORD flags, LPCCH text, int length, LPWSTR output, int capacity) -> int {
            calls().push_back({codePage, flags, length, false});
            return real(codePage, flags, text, length, output, capacity);
        });
    real = hook.real();

    EXPECT_EQ(L"abc", Utf8ToWide("abc"));
    ASSERT_EQ(2u, calls().size());
    for (const Call& call : calls()) {
        EXPECT_EQ(65001u, call.codePage);
        EXPECT_EQ(0u, call.flags);
        EXPECT_EQ(3, call.length);
    }
}

TEST(WideToUtf8, AsksForUtf8WithoutFlagsAndDefaults)
{
    calls().clear();
    using Function = decltype(&WideCharToMultiByte);
    static Function real;
    ImportHook<Function> hook(
        nullptr, "WideCharToMultiByte",
        +[](UINT codePage, DWORD flags, LPCWCH text, int length, LPSTR output, int capacity, LPCCH standIn,
            LPBOOL usedStandIn) -> int {
            calls().push_back({codePage, flags, length, standIn != nullptr || usedStandIn != nullptr});
            return real(codePage, flags, text, length, output, capacity, standIn, usedStandIn);
        });
    real = hook.real();

    EXPECT_EQ("abc", WideToUtf8(L"abc"));
    ASSERT_EQ(2u, calls().size());
    for (const Call& call : calls()) {
        EXPECT_EQ(65001u, call.codePage);
        EXPECT_EQ(0u, call.flags);
        EXPECT_EQ(3, call.length);
        EXPECT_FALSE(call.hasDefault);
    }
}

TEST(Encoding, AFailingPlatformCallGivesAnEmptyText)
{
    ImportHook<decltype(&MultiByteToWideChar)> toWide(
        nullptr, "MultiByteToWideChar", +[](UINT, DWORD, LPCCH, int, LPWSTR, int) -> int { return 0; });
    ImportHook<decltype(&WideCharToMultiByte)> toNarrow(
        nullptr, "WideCharToMultiByte", +[](UINT, DWORD, LPCWCH, int, LPSTR, int, LPCCH, LPBOOL) -> int { return 0; });
    const std::wstring wide = Utf8ToWide("abc");
    const std::string narrow = WideToUtf8(L"abc");
    EXPECT_TRUE(wide.empty());
    EXPECT_TRUE(narrow.empty());
}

}  // namespace
}  // namespace sd::clip
