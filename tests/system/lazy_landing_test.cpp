// Wherever another program puts the placeholder, it goes, and the host is told the directory.
#include <algorithm>
#include <cwctype>
#include <stdexcept>

#include "example_support/utf8_arguments.h"
#include "lazy_test.h"
#include "support/recording_log.h"

namespace {

class LazyLanding : public LazyTest {
protected:
    // Pastes, and looks at all that a landing leaves behind.
    void expectPasteLands(const std::wstring& folder, const std::wstring& toldRoot)
    {
        const auto list = arm();
        EXPECT_TRUE(fileExists(mPlaceholder));
        EXPECT_EQ(pasteInto(folder), kPasteWritten) << mOutput;
        expectLanded(*list, 1, toldRoot);
        EXPECT_FALSE(fileExists(mPlaceholder));
        EXPECT_FALSE(fileExists(folder + L"\\" + placeholderName()));
        EXPECT_NE(mOutput.find("wrote 1 files, 0 bytes to " + toUtf8(folder)), std::string::npos) << mOutput;
        EXPECT_TRUE(mHost.listener().reports().empty());
        EXPECT_TRUE(mHost.listener().events().empty());
    }
};

}  // namespace

TEST_F(LazyLanding, OnTheDriveOfTheCache)
{
    expectPasteLands(mFolder.path() + L"\\pasted", mFolder.path() + L"\\pasted");
}

TEST_F(LazyLanding, OnAnotherDrive)
{
    expectPasteLands(mOther.path(), mOther.path());
}

TEST_F(LazyLanding, InFoldersBelowFolders)
{
    const std::wstring inCacheDrive = mFolder.path() + L"\\gr\u00FC\u00DFe\\deeper\\\U0001F600";
    expectPasteLands(inCacheDrive, inCacheDrive);
    const std::wstring inOtherDrive = mOther.path() + L"\\a b\\c";
    expectPasteLands(inOtherDrive, inOtherDrive);
}

TEST_F(LazyLanding, AtTheRootOfADriveIsToldAsTheDriveAlone)
{
    expectPasteLands(L"D:\\", L"D:");
    expectPasteLands(L"C:\\", L"C:");
}

// By somebody who copies the placeholder on from where it landed, or pastes it again before it went.
TEST_F(LazyLanding, ASecondOneOfTheSamePlaceholderIsToldToo)
{
    const auto list = arm();
    EXPECT_EQ(pasteInto(mOther.path()), kPasteWritten) << mOutput;
    expectLanded(*list, 1, mOther.path());
    landIn(mOther.path());
    expectLanded(*list, 2, mOther.path());
    landIn(mFolder.path());
    expectLanded(*list, 3, mFolder.path());
    EXPECT_FALSE(fileExists(mOther.path() + L"\\" + placeholderName()));
    EXPECT_FALSE(fileExists(mFolder.path() + L"\\" + placeholderName()));
}

TEST_F(LazyLanding, OfAListOfThreeFilesIsToldOnceWithTheNameOfTheFirst)
{
    const auto list = arm({"first.bin", "second.txt", "third"});
    EXPECT_EQ(placeholderName().find(L"first.bin."), 0U);
    EXPECT_EQ(pasteInto(mOther.path()), kPasteWritten) << mOutput;
    expectLanded(*list, 1, mOther.path());
}

TEST_F(LazyLanding, ByRenameIsReportedAsARenameAndPassedOver)
{
    const auto list = arm();
    const std::wstring folder = mFolder.path() + L"\\renamed";
    EXPECT_EQ(pasteInto(folder, {L"--rename"}), kPasteWritten) << mOutput;
    const std::wstring landed = folder + L"\\" + placeholderName();
    EXPECT_FALSE(fileExists(mPlaceholder));
    EXPECT_TRUE(fileExists(landed));
    ASSERT_TRUE(mReads.find(landed));
    EXPECT_EQ(mReads.find(landed)->action, static_cast<DWORD>(FILE_ACTION_RENAMED_NEW_NAME));
    EXPECT_TRUE(list->landings().empty());
    EXPECT_FALSE(RecordingLog::hasLine(5, "Try to start lazy rendering file copy: "));
}

TEST_F(LazyLanding, OfTheNameInOtherLettersIsNone)
{
    const auto list = arm({"report.txt"});
    std::wstring name = placeholderName();
    std::transform(name.begin(), name.end(), name.begin(), [](wchar_t c) { return static_cast<wchar_t>(towupper(c)); });
    settle(L'D');
    makeEmptyFile(mOther.path() + L"\\" + name);
    ASSERT_TRUE(mReads.waitUntilHandled(mOther.path() + L"\\" + name));
    EXPECT_TRUE(list->landings().empty());
    EXPECT_TRUE(fileExists(mOther.path() + L"\\" + name));
}

// A file manager that finds the name taken appends to it. The directory is right; the placeholder itself stays.
TEST_F(LazyLanding, UnderALongerNameIsToldAndLeavesTheFile)
{
    const auto list = arm();
    const std::wstring copy = mOther.path() + L"\\" + placeholderName() + L" - Copy";
    settle(L'D');
    makeEmptyFile(copy);
    awaitHandling(copy);
    expectLanded(*list, 1, mOther.path());
    EXPECT_TRUE(fileExists(copy));
}

TEST_F(LazyLanding, OfAListThatAnotherHasReplacedIsNone)
{
    const auto first = arm();
    const std::wstring firstName = placeholderName();
    const auto second = arm();
    ASSERT_NE(firstName, placeholderName());
    settle(L'D');
    makeEmptyFile(mOther.path() + L"\\" + firstName);
    ASSERT_TRUE(mReads.waitUntilHandled(mOther.path() + L"\\" + firstName));
    EXPECT_EQ(pasteInto(mOther.path()), kPasteWritten) << mOutput;
    expectLanded(*second, 1, mOther.path());
    EXPECT_TRUE(first->landings().empty());
    EXPECT_TRUE(fileExists(mOther.path() + L"\\" + firstName));
}

TEST_F(LazyLanding, IsToldWhateverTheHostAnswersAndThrows)
{
    const auto refusing = arm({"report.txt"}, [](const Landing&) { return 3; });
    landIn(mOther.path());
    expectLanded(*refusing, 1, mOther.path());
    EXPECT_EQ(RecordingLog::count(7, "Lazy rendering file copy start failed(3) for " + toUtf8(mOther.path()) + "\\" +
                                         toUtf8(placeholderName())),
              1);
    const auto throwing = arm({"report.txt"}, [](const Landing&) -> int { throw std::runtime_error("host"); });
    landIn(mOther.path());
    EXPECT_TRUE(RecordingLog::hasLine(7, "A landing can't be handled: host"));
    EXPECT_FALSE(fileExists(mOther.path() + L"\\" + placeholderName()));
    const auto next = arm();
    landIn(mOther.path());
    expectLanded(*next, 1, mOther.path());
}

TEST_F(LazyLanding, ThatTheHostRefusesRaisesNoEvent)
{
    for (const int answer : {1, -1}) {
        const auto list = arm({"report.txt"}, [answer](const Landing&) { return answer; });
        landIn(mOther.path());
        expectLanded(*list, 1, mOther.path());
        EXPECT_TRUE(RecordingLog::hasLine(
            7, "Lazy rendering file copy start failed(" + std::to_string(answer) + ") for " + toUtf8(mOther.path())));
        EXPECT_TRUE(mHost.listener().events().empty());
        EXPECT_TRUE(mHost.listener().reports().empty());
    }
}
