// Whatever the command line calls the directory, the library gets the spelling that the system reports.
#include "cache_directory.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>

#include "example_support/utf8_arguments.h"
#include "support/temporary_folder.h"

namespace {

class CacheDirectory : public testing::Test {
protected:
    CacheDirectory()
    {
        mFolder.addFolder(L"A Long Name");
    }

    void expectSystemSpelling(const std::wstring& asked) const
    {
        std::string expected = toUtf8(mDirectory) + "\\clip-host-placeholder\\";
        std::replace(expected.begin(), expected.end(), '\\', '/');
        EXPECT_EQ(choosePlaceholderDirectory(toUtf8(asked)), expected) << toUtf8(asked);
    }

    std::wstring shortName() const
    {
        wchar_t path[MAX_PATH] = {};
        GetShortPathNameW(mDirectory.c_str(), path, MAX_PATH);
        return path;
    }

    TemporaryFolder mFolder;
    const std::wstring mDirectory = mFolder.path() + L"\\A Long Name";
};

std::wstring toLower(std::wstring text)
{
    CharLowerBuffW(text.data(), static_cast<DWORD>(text.size()));
    return text;
}

}  // namespace

TEST_F(CacheDirectory, ThatIsSpeltAsTheSystemDoesStaysAsItIs)
{
    expectSystemSpelling(mDirectory);
    expectSystemSpelling(mDirectory + L"\\");
}

TEST_F(CacheDirectory, InOtherLettersGetsThoseOfTheDisk)
{
    expectSystemSpelling(toLower(mDirectory));
}

TEST_F(CacheDirectory, WithShortNamesGetsTheLongOnes)
{
    ASSERT_NE(shortName(), mDirectory);
    ASSERT_NE(shortName(), L"");
    expectSystemSpelling(shortName());
}

TEST_F(CacheDirectory, WithDotsOrForwardSlashesIsMadePlain)
{
    expectSystemSpelling(mDirectory + L"\\.\\..\\A Long Name");
    std::wstring slashes = mDirectory;
    std::replace(slashes.begin(), slashes.end(), L'\\', L'/');
    expectSystemSpelling(slashes + L"/");
}

TEST_F(CacheDirectory, WithThePrefixOfLongPathsLosesIt)
{
    expectSystemSpelling(LR"(\\?\)" + mDirectory);
    EXPECT_EQ(chooseCacheDirectory(R"(\\?\C:\cache)"), "C:/cache/");
    EXPECT_EQ(chooseCacheDirectory(R"(\\?\UNC\server\share\cache)"), "//server/share/cache/");
}

TEST_F(CacheDirectory, OnAVolumeWithoutALetterKeepsThePrefix)
{
    EXPECT_EQ(chooseCacheDirectory(R"(\\?\Volume{0}\cache)"), "//?/Volume{0}/cache/");
}
