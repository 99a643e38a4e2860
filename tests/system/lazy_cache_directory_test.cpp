// The host's cache directory in all the ways in which a host may name it.
#include <algorithm>
#include <optional>

#include "example_support/utf8_arguments.h"
#include "lazy_test.h"
#include "support/journal.h"
#include "support/recording_log.h"

namespace {

class LazyCacheDirectory : public LazyTest {
protected:
    void useCache(const std::wstring& directory)
    {
        EXPECT_TRUE(mHost.clipboard().InitFileLazyRenderer(toUtf8(directory)));
        EXPECT_TRUE(RecordingLog::hasLine(5, "File clipboard lazy renderer already initialized"));
        RecordingLog::clear();
    }

    // That the list that stands on the clipboard lands on both drives.
    void expectLandsOnBothDrives(const LazyList& list)
    {
        landIn(mFolder.path());
        expectLanded(list, 1, mFolder.path());
        landIn(mOther.path());
        expectLanded(list, 2, mOther.path());
    }

    const std::wstring mCache = mFolder.path() + L"\\cache";  // where the fixture has it
};

std::wstring toUpper(std::wstring text)
{
    CharUpperBuffW(text.data(), static_cast<DWORD>(text.size()));
    return text;
}

}  // namespace

TEST_F(LazyCacheDirectory, WithForwardSlashesIsUsedWithBackslashes)
{
    std::wstring slashes = mCache + L"\\";
    std::replace(slashes.begin(), slashes.end(), L'\\', L'/');
    useCache(slashes);
    const auto list = arm();
    EXPECT_EQ(mPlaceholder.find(mCache + L"\\report.txt."), 0U) << toUtf8(mPlaceholder);
    EXPECT_TRUE(fileExists(mPlaceholder));
    expectLandsOnBothDrives(*list);
}

TEST_F(LazyCacheDirectory, WithoutASeparatorAtItsEndHasThePlaceholderBesideIt)
{
    useCache(mCache);
    const auto first = arm();
    const std::wstring firstPlaceholder = mPlaceholder;
    EXPECT_EQ(firstPlaceholder.find(mCache + L"report.txt."), 0U) << toUtf8(firstPlaceholder);
    EXPECT_TRUE(fileExists(firstPlaceholder));
    EXPECT_TRUE(fileExists(mCache));
    const auto second = arm();
    // The cleaning is of the directory, where it is not.
    EXPECT_TRUE(fileExists(firstPlaceholder));
    EXPECT_EQ(pasteInto(mOther.path()), kPasteWritten) << mOutput;
    ASSERT_TRUE(second->waitForLandings(1));
    EXPECT_EQ(second->landings()[0].root, toUtf8(mOther.path()));
    EXPECT_TRUE(first->landings().empty());
    // The name that was pasted is longer than the library's own.
    EXPECT_TRUE(fileExists(mOther.path() + L"\\" + placeholderName()));
}

TEST_F(LazyCacheDirectory, ThatIsMissingIsMadeAfterItCouldNotBeCleaned)
{
    const auto list = arm();
    const std::string cache = toUtf8(mCache) + "\\";
    const int found = Journal::shared().find("Failed to get the first file in the directory. Error: 3");
    const int cleaned = Journal::shared().find("Unable to clean " + cache);
    const int done = Journal::shared().find("Start watching file by file clipboard lazy renderer done.");
    EXPECT_GE(found, 0);
    EXPECT_GT(cleaned, found);
    EXPECT_GT(done, cleaned);
    expectLandsOnBothDrives(*list);
    RecordingLog::clear();
    arm();
    EXPECT_FALSE(RecordingLog::hasLine(6, "Unable to clean "));
}

TEST_F(LazyCacheDirectory, BelowAMissingOneFailsAndMakesNothing)
{
    useCache(mFolder.path() + L"\\no\\such\\");
    const auto list = std::make_shared<LazyList>();
    EXPECT_FALSE(offerLazily(list, {"report.txt"}));
    EXPECT_EQ(RecordingLog::count(7, "Could not create cache directory(3): " + toUtf8(mFolder.path()) + "\\no\\such\\"),
              1);
    EXPECT_FALSE(fileExists(mFolder.path() + L"\\no"));
}

TEST_F(LazyCacheDirectory, LosesItsFilesAndKeepsItsSubFolders)
{
    const std::wstring old = mFolder.addFile(L"cache\\old.txt", "1");
    const std::wstring kept = mFolder.addFile(L"cache\\sub\\kept.txt", "2");
    const auto first = arm();
    const std::wstring firstPlaceholder = mPlaceholder;
    EXPECT_FALSE(fileExists(old));
    EXPECT_TRUE(fileExists(firstPlaceholder));
    const auto second = arm();
    EXPECT_FALSE(fileExists(firstPlaceholder));
    EXPECT_TRUE(fileExists(mPlaceholder));
    EXPECT_TRUE(fileExists(kept));
    expectLandsOnBothDrives(*second);
    EXPECT_TRUE(fileExists(kept));
    EXPECT_TRUE(first->landings().empty());
}

// The system reports the directory in its own spelling, which is not the host's.
TEST_F(LazyCacheDirectory, InOtherLettersHasThePlaceholdersOwnCreationTakenForALanding)
{
    mFolder.addFolder(L"cache");
    lookIntoFolder(mCache);
    useCache(toUpper(mCache) + L"\\");
    std::shared_ptr<LazyList> list;
    std::optional<NoticedFile> noticed;
    for (int i = 0; i < 20 && (!noticed || noticed->isMissedLanding()); ++i) {
        DeleteFileW(mPlaceholder.c_str());
        settle(L'C');
        list = arm();
        const std::wstring created = mCache + L"\\" + placeholderName();
        ASSERT_TRUE(mReads.waitUntilHandled(created));
        noticed = mReads.find(created);
    }
    expectLanded(*list, 1, mCache);
    EXPECT_FALSE(RecordingLog::hasLine(5, "Bypass cache file: "));
    EXPECT_FALSE(fileExists(mPlaceholder));
}

TEST_F(LazyCacheDirectory, OnAnotherDriveServesLandingsOnBoth)
{
    useCache(mOther.path() + L"\\cache\\");
    const auto list = arm();
    EXPECT_EQ(mPlaceholder.find(mOther.path()), 0U);
    EXPECT_EQ(pasteInto(mFolder.path()), kPasteWritten) << mOutput;
    expectLanded(*list, 1, mFolder.path());
    landIn(mOther.path());
    expectLanded(*list, 2, mOther.path());
}

TEST_F(LazyCacheDirectory, ThatIsEmptyDeletesAndMakesNothing)
{
    const std::wstring marker = ownFolder() + L"\\lazy-marker-" + std::to_wstring(GetCurrentProcessId());
    makeEmptyFile(marker);
    useCache(L"");
    const auto list = std::make_shared<LazyList>();
    EXPECT_FALSE(offerLazily(list, {"report.txt"}));
    EXPECT_EQ(RecordingLog::count(7, "Failed to get the first file in the directory. Error: 123"), 1);
    EXPECT_TRUE(fileExists(marker));
    DeleteFileW(marker.c_str());
}

TEST_F(LazyCacheDirectory, ThatIsTheRootOfADriveIsNeverCleaned)
{
    const std::wstring marker = L"D:\\lazy-marker-" + std::to_wstring(GetCurrentProcessId());
    makeEmptyFile(marker);
    for (const wchar_t* root : {L"D:\\", L"D:", L"d:/", L"\\\\?\\D:\\", L"D:\\no\\..\\"}) {
        useCache(root);
        const auto list = std::make_shared<LazyList>();
        offerLazily(list, {"report.txt"});  // some of them can hold a placeholder
        EXPECT_EQ(RecordingLog::count(7, "Failed to get the first file in the directory. Error: 123"), 1)
            << toUtf8(root);
        EXPECT_TRUE(fileExists(marker)) << toUtf8(root);
    }
    DeleteFileW(marker.c_str());
    WIN32_FIND_DATAW found;
    const HANDLE search = FindFirstFileW(L"D:\\report.txt.*", &found);
    if (search == INVALID_HANDLE_VALUE)
        return;
    do
        DeleteFileW((std::wstring(L"D:\\") + found.cFileName).c_str());
    while (FindNextFileW(search, &found));
    FindClose(search);
}
