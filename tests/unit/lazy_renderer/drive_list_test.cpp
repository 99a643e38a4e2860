#include "file_clipboard_lazy_renderer/drive_list.h"

#include <gtest/gtest.h>

using sd::clip::splitByDelimiter;

using namespace std::string_literals;

using Parts = std::vector<std::wstring>;

TEST(SplitByDelimiter, TheRootsOfThePlatformStandBetweenTerminators)
{
    EXPECT_EQ((Parts{L"C:\\", L"D:\\"}), splitByDelimiter(L"C:\\\0D:\\\0\0"s, L'\0'));
}

TEST(SplitByDelimiter, TwentySixRootsAreTwentySixParts)
{
    std::wstring drives;
    Parts roots;
    for (wchar_t letter = L'A'; letter <= L'Z'; ++letter) {
        roots.push_back(std::wstring(1, letter) + L":\\");
        drives += roots.back() + L'\0';
    }
    EXPECT_EQ(roots, splitByDelimiter(drives + L'\0', L'\0'));
}

TEST(SplitByDelimiter, OneRootIsOnePart)
{
    EXPECT_EQ(Parts{L"C:\\"}, splitByDelimiter(L"C:\\\0\0"s, L'\0'));
    EXPECT_EQ(Parts{L"C:\\"}, splitByDelimiter(L"C:\\\0"s, L'\0'));
}

TEST(SplitByDelimiter, TheLastPartNeedsNoDelimiterBehindIt)
{
    EXPECT_EQ(Parts{L"C:\\"}, splitByDelimiter(L"C:\\", L'\0'));
    EXPECT_EQ((Parts{L"C:\\", L"D:\\"}), splitByDelimiter(L"C:\\\0D:\\"s, L'\0'));
}

TEST(SplitByDelimiter, NothingAndDelimitersAloneHaveNoPart)
{
    EXPECT_EQ(Parts{}, splitByDelimiter(L"", L'\0'));
    EXPECT_EQ(Parts{}, splitByDelimiter(L"\0"s, L'\0'));
    EXPECT_EQ(Parts{}, splitByDelimiter(std::wstring(1000, L'\0'), L'\0'));
}

TEST(SplitByDelimiter, DelimitersInFrontAndInARowMakeNoEmptyPart)
{
    EXPECT_EQ((Parts{L"C:\\", L"D:\\"}), splitByDelimiter(L"\0\0C:\\\0\0\0D:\\\0"s, L'\0'));
}

TEST(SplitByDelimiter, AnyUnitCanBeTheDelimiter)
{
    EXPECT_EQ((Parts{L"a", L"b\0c"s}), splitByDelimiter(L";a;;b\0c;"s, L';'));
    EXPECT_EQ(Parts{L"C:\\\0D:\\\0"s}, splitByDelimiter(L"C:\\\0D:\\\0"s, L';'));
}
