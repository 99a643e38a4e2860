// Which added files are landings of the placeholder, and what the host is told of one.
#include <gtest/gtest.h>
#include <windows.h>

#include "landing_target.h"
#include "renderer_access.h"
#include "support/recording_log.h"

using namespace sd::clip;

namespace {

using Strings = std::vector<std::string>;

// As severe as a failure, and it stays so.
const std::string kStarted = "log 7 Lazy rendering file copy(FullPostProcessMode) remove original file for ";
const char kName[] = "report.txt.12345678";

class Landing : public testing::Test {
protected:
    Landing()
    {
        TestAccess::setCacheDirectory(mRenderer, "C:\\cache\\");
        arm({"report.txt", "second.txt"});
    }

    void arm(const std::vector<std::string>& names)
    {
        mRecord = makeGuestRecord(names, [this](const std::shared_ptr<ClipboardFileDataEx>& data) {
            EXPECT_EQ(data, mRecord);
            Journal::shared().add("host");
            mTarget = data->GetTargetClipboardData();
            mTargets.push_back(mTarget->GetFiles().at(0).root);
            return mAnswer;
        });
        TestAccess::arm(mRenderer, mRecord, "12345678");
    }

    bool land(const std::wstring& root, const std::string& name)
    {
        Journal::shared().clear();
        const auto lock = TestAccess::lock(mRenderer);
        return TestAccess::handleTarget(mRenderer, root, name);
    }

    FileClipboardLazyRenderer mRenderer;
    InventedTarget mInvented;
    std::shared_ptr<ClipboardFileDataExImpl> mRecord;
    std::shared_ptr<ClipboardFileData> mTarget;  // of the last landing
    Strings mTargets;                            // roots
    int mAnswer = 0;
};

}  // namespace

TEST_F(Landing, AnAddedFileWithTheNameIsReportedStepByStep)
{
    const std::string path = "D:\\dest\\report.txt.12345678";
    EXPECT_FALSE(land(L"D:\\", "dest\\report.txt.12345678"));  // false is what the host's success gives
    EXPECT_EQ(
        Journal::shared().entries(),
        (JournalEntries{"log 5 Sparce file report.txt.12345678, temp file matched: D:\\:\\dest\\report.txt.12345678",
                        "log 5 Renamed from " + path + ", cache dir C:\\cache\\, bypass 0",
                        "log 5 Full post process mode enabled, handle copy file without renaming it " + path,
                        "log 5 Try to start lazy rendering file copy: " + path,
                        "log 5 Full post process mode enabled, report file path without file name",
                        "DeleteFileW " + path, "log 5 Remove target file due to lazy rendering success",
                        "SHChangeNotify 4 5 " + path, "SHChangeNotify 4096 5 " + path, "host", kStarted + path}));
    EXPECT_EQ(mTargets, Strings{"D:\\dest"});
}

TEST_F(Landing, TheModeChangesNothing)
{
    land(L"D:\\", "dest\\report.txt.12345678");
    const JournalEntries withoutMode = Journal::shared().entries();
    mRenderer.SetSupportFileClipboardFullPostProcessMode(true);
    land(L"D:\\", "dest\\report.txt.12345678");
    EXPECT_EQ(Journal::shared().entries(), withoutMode);
}

TEST_F(Landing, AHostThatReturns3GivesTheFailureAndTrue)
{
    mAnswer = 3;
    EXPECT_TRUE(land(L"D:\\", "dest\\report.txt.12345678"));
    EXPECT_EQ(Journal::shared().entries().back(),
              "log 7 Lazy rendering file copy start failed(3) for D:\\dest\\report.txt.12345678");
    EXPECT_EQ(RecordingLog::messages(7).size(), 1u);
    EXPECT_EQ(TestAccess::armedData(mRenderer), mRecord);
    mAnswer = -1;
    EXPECT_TRUE(land(L"D:\\", "dest\\report.txt.12345678"));
    EXPECT_EQ(RecordingLog::count(7, "Lazy rendering file copy start failed(-1) for D:\\dest\\report.txt.12345678"), 1);
}

TEST_F(Landing, TheTargetSaysOnlyWhereTo)
{
    land(L"C:\\", "dest\\report.txt.12345678");
    ASSERT_EQ(mTarget->GetFiles().size(), 1u);
    const ClipfileDescription& target = mTarget->GetFiles()[0];
    EXPECT_EQ(target.root, "C:\\dest");
    EXPECT_EQ(target.relativePath, "");
    EXPECT_EQ(target.fileName, "");
    EXPECT_EQ(target.attributes + target.mode + target.size, 0u);
    EXPECT_EQ(target.createTime + target.accessTime + target.writeTime, 0);
    EXPECT_EQ(mRecord->GetTargetClipboardData(), mTarget);
    ASSERT_EQ(mRecord->GetFiles().size(), 2u);  // still what is to be copied
    EXPECT_EQ(mRecord->GetFiles()[1].fileName, "second.txt");
}

TEST_F(Landing, AFolderOfAnyDepthIsTheTarget)
{
    land(L"C:\\", "a\\b c\\gr\xC3\xBC\xC3\x9F\\report.txt.12345678");
    EXPECT_EQ(mTargets, Strings{"C:\\a\\b c\\gr\xC3\xBC\xC3\x9F"});
    EXPECT_GE(Journal::shared().find("DeleteFileW C:\\a\\b c\\gr\xC3\xBC\xC3\x9F\\report.txt.12345678"), 0);
}

TEST_F(Landing, ADrivesRootIsReportedWithoutItsBackslash)
{
    land(L"D:\\", kName);
    EXPECT_EQ(mTargets, Strings{"D:"});
    EXPECT_GE(Journal::shared().find("DeleteFileW D:\\report.txt.12345678"), 0);
}

TEST_F(Landing, ANameAroundItMatchesAndTheExactNameIsRemoved)
{
    land(L"D:\\", "dest\\report.txt.12345678 - Copy");
    land(L"D:\\", "other\\my report.txt.12345678");
    EXPECT_EQ(mTargets, (Strings{"D:\\dest", "D:\\other"}));
    EXPECT_GE(Journal::shared().find("DeleteFileW D:\\other\\report.txt.12345678"), 0);
}

TEST_F(Landing, AFolderOfTheNameMatchesToo)
{
    land(L"D:\\", "report.txt.12345678\\inner.bin");
    EXPECT_EQ(mTargets, Strings{"D:\\report.txt.12345678"});
}

TEST_F(Landing, OtherNamesMatchNothingAndAreNotLogged)
{
    for (const char* const name :
         {"dest\\REPORT.TXT.12345678", "dest\\report.txt", "dest\\report.txt.12345679", "dest\\report.txt.1234567",
          "dest\\second.txt.12345678", "report.txt\\12345678", "x", "\xFF\xFE"}) {
        EXPECT_FALSE(land(L"D:\\", name)) << name;
        EXPECT_EQ(Journal::shared().entries(), JournalEntries()) << name;
    }
    EXPECT_TRUE(mTargets.empty());
}

TEST_F(Landing, OnlyTheFirstFileOfTheListCounts)
{
    arm({"first.txt", "report.txt"});
    land(L"D:\\", "dest\\report.txt.12345678");
    EXPECT_TRUE(mTargets.empty());
    land(L"D:\\", "dest\\first.txt.12345678");
    EXPECT_EQ(mTargets, Strings{"D:\\dest"});
}

TEST_F(Landing, ATerminatorAtTheEndOfTheGuestsNameEndsTheNameThatIsSought)
{
    arm({std::string("report.txt\0", 11)});
    land(L"D:\\", "dest\\report.txt.12345678");
    EXPECT_EQ(mTargets, Strings{"D:\\dest"});
    EXPECT_GE(Journal::shared().find("DeleteFileW D:\\dest\\report.txt.12345678"), 0);
}

TEST_F(Landing, ThePlaceholdersOwnCreationInTheCacheIsBypassed)
{
    EXPECT_FALSE(land(L"C:\\", "cache\\report.txt.12345678"));
    EXPECT_EQ(Journal::shared().entries(),
              (JournalEntries{"log 5 Sparce file report.txt.12345678, temp file matched: "
                              "C:\\:\\cache\\report.txt.12345678",
                              "log 5 Renamed from C:\\cache\\report.txt.12345678, cache dir C:\\cache\\, bypass 1",
                              "log 5 Bypass cache file: Ccache\\report.txt.12345678"}));
    EXPECT_TRUE(mTargets.empty());
}

TEST_F(Landing, TheCacheIsFoundAnywhereInThePath)
{
    TestAccess::setCacheDirectory(mRenderer, "cache");
    land(L"D:\\", "other\\my cache folder\\report.txt.12345678");
    EXPECT_TRUE(mTargets.empty());
    land(L"D:\\", "cachereport.txt.12345678");  // beside the directory, as without a separator
    EXPECT_TRUE(mTargets.empty());
}

TEST_F(Landing, ACacheInAnotherLetterCaseIsNotRecognised)
{
    land(L"C:\\", "Cache\\report.txt.12345678");
    EXPECT_EQ(mTargets, Strings{"C:\\Cache"});
    EXPECT_EQ(RecordingLog::count(5, "Renamed from C:\\Cache\\report.txt.12345678, cache dir C:\\cache\\, bypass 0"),
              1);
}

TEST_F(Landing, ACacheOutsideAsciiIsRecognised)
{
    TestAccess::setCacheDirectory(mRenderer, "C:\\gr\xC3\xBC\xC3\x9F\\");
    land(L"C:\\", "gr\xC3\xBC\xC3\x9F\\report.txt.12345678");
    EXPECT_TRUE(mTargets.empty());
}

TEST_F(Landing, WithoutACacheDirectoryNothingIsBypassed)
{
    TestAccess::setCacheDirectory(mRenderer, "");
    land(L"D:\\", "dest\\report.txt.12345678");
    EXPECT_EQ(mTargets, Strings{"D:\\dest"});
    EXPECT_EQ(RecordingLog::count(5, "Renamed from D:\\dest\\report.txt.12345678, cache dir , bypass 0"), 1);
}

TEST_F(Landing, ASecondLandingReachesTheHostASecondTimeWithATargetOfItsOwn)
{
    land(L"D:\\", "dest\\report.txt.12345678");
    const auto first = mTarget;
    land(L"C:\\", "other\\report.txt.12345678");
    EXPECT_EQ(mTargets, (Strings{"D:\\dest", "C:\\other"}));
    EXPECT_NE(mTarget, first);
    EXPECT_EQ(first->GetFiles().at(0).root, "D:\\dest");
    EXPECT_EQ(TestAccess::armedData(mRenderer), mRecord);
    EXPECT_EQ(TestAccess::suffix(mRenderer), "12345678");
}

TEST_F(Landing, TheTextsAreGluedTogetherAsTheyAre)
{
    const auto lock = TestAccess::lock(mRenderer);
    EXPECT_FALSE(TestAccess::renderCopy(mRenderer, "D:\\dest\\", "sub\\", "a.txt"));
    EXPECT_EQ(Journal::shared().entries(),
              (JournalEntries{"log 5 Try to start lazy rendering file copy: D:\\dest\\sub\\a.txt",
                              "log 5 Full post process mode enabled, report file path without file name",
                              "DeleteFileW D:\\dest\\a.txt", "log 5 Remove target file due to lazy rendering success",
                              "SHChangeNotify 4 5 D:\\dest\\a.txt", "SHChangeNotify 4096 5 D:\\dest\\a.txt", "host",
                              kStarted + "D:\\dest\\sub\\a.txt"}));
    EXPECT_EQ(mTarget->GetFiles().at(0).relativePath, "sub\\");
}

TEST_F(Landing, ATargetWithoutABackslashIsReportedWhole)
{
    const auto lock = TestAccess::lock(mRenderer);
    TestAccess::renderCopy(mRenderer, "nowhere", "", "a.txt");
    EXPECT_EQ(mTargets, Strings{"nowhere"});
}

TEST_F(Landing, BothPathsOfANotificationAreTheLandedFileAndNothingElse)
{
    for (const int failing : {0, 1, 4}) {
        const InventedTarget invented(failing);
        land(L"D:\\", kName);
        JournalEntries told;
        for (const std::string& entry : Journal::shared().entries()) {
            if (entry.rfind("SHChangeNotify", 0) == 0)
                told.push_back(entry);
        }
        EXPECT_EQ(told, (JournalEntries{"SHChangeNotify 4 5 D:\\report.txt.12345678",
                                        "SHChangeNotify 4096 5 D:\\report.txt.12345678"}));
    }
}

// The guest's desktop may name its files in an older encoding; the file system shows what became of that.
TEST_F(Landing, OfANameThatIsNotUtf8IsKnownByWhatItBecameOnDisk)
{
    mRecord->GetFiles().front().fileName = "caf\xE9.txt";
    EXPECT_FALSE(land(L"D:\\", "dest\\caf\xEF\xBF\xBD.txt.12345678"));
    EXPECT_EQ(mTargets, Strings{"D:\\dest"});
}

// The host would be told the drive's root, or no folder at all.
TEST_F(Landing, OfANameThatCantBeConvertedIsNone)
{
    const ImportHook<decltype(&MultiByteToWideChar)> hook(
        nullptr, "MultiByteToWideChar", +[](UINT, DWORD, LPCCH, int, LPWSTR, int) -> int { return 0; });
    EXPECT_FALSE(land(L"D:\\", std::string("dest\\") + kName));
    EXPECT_EQ(Journal::shared().entries(),
              Strings{"log 6 A landing can't be told, its path can't be converted: dest\\" + std::string(kName)});
}

TEST_F(Landing, InAFolderThatCantBeConvertedIsNone)
{
    const ImportHook<decltype(&WideCharToMultiByte)> hook(
        nullptr, "WideCharToMultiByte", +[](UINT, DWORD, LPCWCH, int, LPSTR, int, LPCCH, LPBOOL) -> int { return 0; });
    EXPECT_FALSE(land(L"D:\\", std::string("dest\\") + kName));
    EXPECT_TRUE(mTargets.empty());
    EXPECT_EQ(
        RecordingLog::count(6, "A landing can't be told, its path can't be converted: dest\\" + std::string(kName)), 1);
}
