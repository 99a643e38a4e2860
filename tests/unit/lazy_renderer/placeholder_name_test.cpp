#include "file_clipboard_lazy_renderer/placeholder_name.h"

#include <gtest/gtest.h>

namespace sd::clip {
namespace {

using namespace std::string_literals;

ClipfileDescription makeFile(const std::string& fileName)
{
    ClipfileDescription file;
    file.relativePath = "sub";
    file.fileName = fileName;
    return file;
}

TEST(MakeSparseName, IsTheFileNameWithTheSuffixBehindADot)
{
    EXPECT_EQ("report.txt.12345678", makeSparseName(makeFile("report.txt"), "12345678"));
    EXPECT_EQ("report.12345678", makeSparseName(makeFile("report"), "12345678"));
    EXPECT_EQ("\xD0\xB6.12345678", makeSparseName(makeFile("\xD0\xB6"), "12345678"));
}

TEST(MakeSparseName, ATerminatorEndsTheFileName)
{
    EXPECT_EQ("report.txt.12345678", makeSparseName(makeFile("report.txt\0"s), "12345678"));
    EXPECT_EQ("report.12345678", makeSparseName(makeFile("report\0.txt"s), "12345678"));
    EXPECT_EQ(".12345678", makeSparseName(makeFile("\0"s), "12345678"));
}

TEST(ReplaceFileName, KeepsEverythingUpToTheLastSeparatorOfEitherKind)
{
    EXPECT_EQ(L"D:\\dest\\new", replaceFileName(L"D:\\dest\\old", L"new"));
    EXPECT_EQ(L"D:/dest/new", replaceFileName(L"D:/dest/old", L"new"));
    EXPECT_EQ(L"D:\\dest/new", replaceFileName(L"D:\\dest/old", L"new"));
    EXPECT_EQ(L"D:/dest\\new", replaceFileName(L"D:/dest\\old", L"new"));
    EXPECT_EQ(L"D:\\new", replaceFileName(L"D:\\old", L"new"));
    EXPECT_EQ(L"D:\\dest\\new", replaceFileName(L"D:\\dest\\", L"new"));
}

TEST(ReplaceFileName, AnEmptyNameLeavesTheDirectoryWithItsSeparator)
{
    EXPECT_EQ(L"D:\\dest\\", replaceFileName(L"D:\\dest\\report.txt.12345678", L""));
    EXPECT_EQ(L"D:\\dest\\sub\\", replaceFileName(L"D:\\dest\\sub\\report.txt.12345678", L""));
    EXPECT_EQ(L"D:\\", replaceFileName(L"D:\\report.txt.12345678", L""));
}

TEST(ReplaceFileName, WithoutASeparatorTheNameStandsAlone)
{
    EXPECT_EQ(L"new", replaceFileName(L"old", L"new"));
    EXPECT_EQ(L"new", replaceFileName(L"D:old", L"new"));
    EXPECT_EQ(L"new", replaceFileName(L"", L"new"));
    EXPECT_EQ(L"", replaceFileName(L"", L""));
}

TEST(AppendCopySuffix, StandsBeforeTheLastDot)
{
    EXPECT_EQ("a(2).txt", appendCopySuffix("a.txt"));
    EXPECT_EQ("archive.tar(2).gz", appendCopySuffix("archive.tar.gz"));
    EXPECT_EQ("(2).profile", appendCopySuffix(".profile"));
    EXPECT_EQ("a(2).", appendCopySuffix("a."));
    EXPECT_EQ("(2).", appendCopySuffix("."));
}

TEST(AppendCopySuffix, StandsAtTheEndOfANameWithoutADot)
{
    EXPECT_EQ("a(2)", appendCopySuffix("a"));
    EXPECT_EQ("(2)", appendCopySuffix(""));
}

TEST(AppendCopySuffix, DoesNotCount)
{
    EXPECT_EQ("a(2)(2).txt", appendCopySuffix(appendCopySuffix("a.txt")));
    EXPECT_EQ("report(2)(2)(2)", appendCopySuffix(appendCopySuffix(appendCopySuffix("report"))));
}

TEST(CutAtLastBackslash, DropsTheLastBackslashAndWhatFollowsIt)
{
    EXPECT_EQ("D:\\dest", cutAtLastBackslash("D:\\dest\\"));
    EXPECT_EQ("D:\\dest", cutAtLastBackslash("D:\\dest\\name"));
    EXPECT_EQ("D:", cutAtLastBackslash("D:\\"));
    EXPECT_EQ("", cutAtLastBackslash("\\"));
}

TEST(CutAtLastBackslash, ATextWithoutABackslashStaysWhole)
{
    EXPECT_EQ("D:/dest/", cutAtLastBackslash("D:/dest/"));
    EXPECT_EQ("", cutAtLastBackslash(""));
}

TEST(LiesInCache, FindsTheDirectoryAnywhereInThePath)
{
    EXPECT_TRUE(liesInCache(L"C:\\cache\\report.txt.12345678", L"C:\\cache\\"));
    EXPECT_TRUE(liesInCache(L"C:\\cache\\sub\\report.txt", L"C:\\cache\\"));
    EXPECT_TRUE(liesInCache(L"C:\\cachereport.txt", L"C:\\cache"));
    EXPECT_TRUE(liesInCache(L"D:\\C:\\cache\\a", L"C:\\cache\\"));
    EXPECT_TRUE(liesInCache("C:\\cache\\report.txt.12345678", "C:\\cache\\"));
    EXPECT_FALSE(liesInCache(L"D:\\dest\\report.txt.12345678", L"C:\\cache\\"));
    EXPECT_FALSE(liesInCache("D:\\dest\\report.txt.12345678", "C:\\cache\\"));
}

TEST(LiesInCache, LetterCaseAndSeparatorsCount)
{
    EXPECT_FALSE(liesInCache(L"C:\\Cache\\a", L"C:\\cache\\"));
    EXPECT_FALSE(liesInCache(L"C:/cache/a", L"C:\\cache\\"));
    EXPECT_FALSE(liesInCache("c:\\cache\\a", "C:\\cache\\"));
}

TEST(LiesInCache, AnEmptyDirectoryContainsNothing)
{
    EXPECT_FALSE(liesInCache(L"C:\\cache\\a", L""));
    EXPECT_FALSE(liesInCache("C:\\cache\\a", ""));
    EXPECT_FALSE(liesInCache(L"", L""));
    EXPECT_FALSE(liesInCache("", ""));
}

void expectAllRefused(std::initializer_list<std::wstring> directories)
{
    for (const std::wstring& directory : directories)
        EXPECT_TRUE(isEmptyOrRoot(directory)) << testing::PrintToString(directory);
}

void expectNoneRefused(std::initializer_list<std::wstring> directories)
{
    for (const std::wstring& directory : directories)
        EXPECT_FALSE(isEmptyOrRoot(directory)) << testing::PrintToString(directory);
}

TEST(IsEmptyOrRoot, NothingIsRefused)
{
    expectAllRefused({L"", L"\0"s, L"\0cache\\"s});
}

TEST(IsEmptyOrRoot, TheRootOfADriveIsRefused)
{
    expectAllRefused({L"C:", L"C:\\", L"c:\\", L"C:/", L"C:\\\\", L"C:\\/\\", L"Z:", L"1:\\", L"C:\\\0cache\\"s});
}

TEST(IsEmptyOrRoot, TheRootOfTheCurrentDriveIsRefused)
{
    expectAllRefused({L"\\", L"/", L"\\.", L"\\..", L"/./", L"\\cache\\.."});
}

TEST(IsEmptyOrRoot, ARootBehindDotsIsRefused)
{
    expectAllRefused({L"C:\\.", L"C:\\.\\", L"C:\\..", L"C:/../..", L"C:\\cache\\..", L"C:\\cache\\..\\",
                      L"C:/a/../b/..", L"C:\\a\\b\\..\\..", L"C:\\a\\..\\..\\..", L"C:\\a\\.\\..\\.", L"C:.",
                      L"C:cache\\.."});
}

TEST(IsEmptyOrRoot, TheRootOfADriveBehindADevicePrefixIsRefused)
{
    expectAllRefused({L"\\\\?\\C:\\", L"\\\\?\\C:", L"\\\\.\\C:\\", L"\\\\.\\C:", L"//?/C:/", L"//./C:/", L"\\??\\C:\\",
                      L"\\\\?\\Global\\C:\\", L"\\\\.\\GLOBAL\\C:", L"\\\\?\\", L"\\\\.\\", L"\\??\\",
                      L"\\\\.\\C:\\cache\\..", L"\\\\?\\HarddiskVolume1\\",
                      L"\\\\?\\Volume{00000000-0000-0000-0000-000000000000}\\",
                      L"\\\\?\\Volume{00000000-0000-0000-0000-000000000000}"});
}

TEST(IsEmptyOrRoot, WhereTheVolumeOfADevicePathEndsIsUnknownAndSoItIsRefused)
{
    expectAllRefused({L"\\\\?\\GLOBALROOT\\Device\\HarddiskVolume1\\", L"\\\\.\\GlobalRoot\\GLOBAL??\\C:\\",
                      L"\\\\?\\GLOBALROOT\\Device\\HarddiskVolume1\\cache\\"});
}

TEST(IsEmptyOrRoot, TheRootOfAShareIsRefused)
{
    expectAllRefused({L"\\\\server\\share", L"\\\\server\\share\\", L"//server/share/", L"\\\\server", L"\\\\server\\",
                      L"\\\\server\\share\\.", L"\\\\server\\share\\cache\\..", L"\\\\server\\C$\\",
                      L"\\\\?\\UNC\\server\\share", L"\\\\?\\UNC\\server\\share\\", L"\\\\?\\unc\\server\\share\\",
                      L"\\\\.\\UNC\\server\\share\\", L"\\??\\UNC\\server\\share\\", L"\\\\?\\UNC\\server",
                      L"\\\\?\\UNC\\", L"\\\\?\\UNC\\server\\share\\cache\\.."});
}

TEST(IsEmptyOrRoot, AFolderOnADriveMayBeCleaned)
{
    expectNoneRefused({L"C:\\cache", L"C:\\cache\\", L"C:/cache/", L"C:\\a\\b\\", L"C:\\...", L"C:\\..cache",
                       L"C:\\cache\\..\\b", L"C:\\.cache\\", L"C:\\cache\\.", L"\\cache", L"/cache/", L"\\.\\cache",
                       L"\\..\\cache"});
}

TEST(IsEmptyOrRoot, AFolderBelowAPrefixOrAShareMayBeCleaned)
{
    expectNoneRefused({L"\\\\?\\C:\\cache", L"\\\\?\\C:\\cache\\", L"\\\\.\\C:\\cache\\", L"\\??\\C:\\cache\\",
                       L"\\\\?\\Global\\C:\\cache\\", L"\\\\server\\share\\cache", L"//server/share/cache/",
                       L"\\\\server\\share\\..\\cache", L"\\\\?\\UNC\\server\\share\\cache\\",
                       L"\\\\?\\Volume{00000000-0000-0000-0000-000000000000}\\cache\\"});
}

// Where such a path leads, the platform has to say.
TEST(IsEmptyOrRoot, ARelativeFolderIsNotRefusedForItsText)
{
    expectNoneRefused({L"cache", L"cache\\", L"a\\b", L".", L"..", L".\\cache\\", L"C:cache", L"cache\\.."});
}

}  // namespace
}  // namespace sd::clip
