// The placeholder route through the engine: what a host gets of its own placeholder, and of its user's copies after it.
#include <gtest/gtest.h>
#include <windows.h>

#include <future>

#include "sd/clip/clipboard_data.h"
#include "support/clipboard_owner.h"
#include "support/import_hook.h"
#include "support/recording_listener.h"
#include "support/recording_log.h"
#include "support/temporary_folder.h"
#include "unit/engine/engine_access.h"

using namespace sd::clip;

namespace {

using Formats = std::vector<ClipboardFormat>;
using Messages = std::vector<std::string>;

bool gHasDrives = true;

DWORD WINAPI giveNoDrives(DWORD /*length*/, LPWSTR buffer)
{
    if (!gHasDrives)
        return 0;
    if (buffer != nullptr)
        *buffer = L'\0';
    return 1;
}

class OwnCopy : public testing::Test {
protected:
    OwnCopy()
    {
        gHasDrives = true;
        mEngine.SetListener(mListener);
        mEngine.SetFileClipboardSupported(true);
    }
    ~OwnCopy() override
    {
        mOwner.putNothing();
    }

    bool init()
    {
        return mEngine.InitFileLazyRenderer(mFolder.utf8Path() + "/cache/");
    }

    bool setLazily(const std::vector<std::string>& names = {"a.txt"})
    {
        std::vector<ClipfileDescription> files;
        for (const std::string& name : names) {
            files.emplace_back();
            files.back().fileName = name;
        }
        const auto record = ClipboardFileDataEx::Create();
        record->SetFiles(std::move(files));
        RecordingLog::clear();
        return mEngine.SetClipboardData(ClipboardFormat::FileLazy, record);
    }

    // What the host is told of the change that the clipboard shows now.
    std::vector<Formats> detect()
    {
        mListener->clear();
        RecordingLog::clear();
        TestAccess::detectCopy(mEngine);
        EXPECT_TRUE(mListener->events().empty());
        return mListener->reports();
    }

    ClipboardImpl& mEngine = TestAccess::makeEngine();
    const std::shared_ptr<RecordingListener> mListener = std::make_shared<RecordingListener>();
    TemporaryFolder mFolder;
    ClipboardOwner mOwner;
    const ImportHook<decltype(&GetLogicalDriveStringsW)> mDrives{nullptr, "GetLogicalDriveStringsW", &giveNoDrives};
    const std::vector<Formats> mNobody;
    const std::vector<Formats> mFiles{{ClipboardFormat::File}};
    const std::vector<Formats> mNoFiles{{}};
};

}  // namespace

TEST_F(OwnCopy, TheRouteIsLoggedAndSendsNoEvent)
{
    ASSERT_TRUE(init());
    mFolder.addFolder(L"cache");
    EXPECT_TRUE(setLazily());
    EXPECT_EQ(RecordingLog::messages(), (Messages{"Enter", "Use file lazy renderer to handle file clipboard data",
                                                  "Start watching file by file clipboard lazy renderer.",
                                                  "Start watching file by file clipboard lazy renderer done."}));
    EXPECT_EQ(RecordingLog::messages(5).size(), 4u);
    EXPECT_TRUE(mListener->events().empty());
    EXPECT_TRUE(mListener->reports().empty());
}

TEST_F(OwnCopy, TheChangeOfThePublicationReachesNobody)
{
    ASSERT_TRUE(init());
    ASSERT_TRUE(setLazily());
    EXPECT_EQ(detect(), mNobody);
    EXPECT_EQ(RecordingLog::messages(5), (Messages{"Consume file lazy renderer copy 1",
                                                   "File clipboard lazy renderer is ready, skip onDetectCopy"}));
    EXPECT_EQ(RecordingLog::messages().size(), 2u);
}

TEST_F(OwnCopy, ALaterChangeThatStillShowsThePlaceholderReachesNobody)
{
    ASSERT_TRUE(init());
    ASSERT_TRUE(setLazily());
    EXPECT_EQ(detect(), mNobody);
    EXPECT_EQ(detect(), mNobody);
    EXPECT_EQ(RecordingLog::messages(5).back(), "File clipboard lazy renderer is ready, skip onDetectCopy");
    EXPECT_EQ(RecordingLog::messages(5).front(), "Consume file lazy renderer copy 0");
}

TEST_F(OwnCopy, ACopyOfTextAfterThePublicationIsReported)
{
    ASSERT_TRUE(init());
    ASSERT_TRUE(setLazily());
    EXPECT_EQ(detect(), mNobody);
    mOwner.putText(L"text");
    EXPECT_EQ(detect(), mNoFiles);
    EXPECT_TRUE(RecordingLog::hasLine(6, "Get clipboard data failed! error code "));
}

TEST_F(OwnCopy, AUsersCopyOfOneFileElsewhereIsReportedAndOneInTheCacheIsNot)
{
    ASSERT_TRUE(init());
    ASSERT_TRUE(setLazily());
    EXPECT_EQ(detect(), mNobody);
    mOwner.putDropList({mFolder.addFile(L"docs\\a.txt")});
    EXPECT_EQ(detect(), mFiles);
    mOwner.putDropList({mFolder.path() + L"\\cache\\other.txt"});
    EXPECT_EQ(detect(), mNobody);
    mOwner.putDropList({mFolder.path() + L"\\cache\\other.txt", mFolder.path() + L"\\cache\\more.txt"});
    EXPECT_EQ(detect(), mFiles);
}

TEST_F(OwnCopy, ACopyOfOneFileIsReportedWhereTheRouteWasNeverStarted)
{
    const std::wstring file = mFolder.addFile(L"docs\\a.txt");
    mOwner.putDropList({file});
    EXPECT_EQ(detect(), mFiles);
    EXPECT_EQ(RecordingLog::messages(),
              (Messages{"Consume file lazy renderer copy 0",
                        "Try to match lazy render cache file for copy: " + mFolder.utf8Path() + "\\docs\\a.txt",
                        "Add clipformat:6, cfformat:15"}));
}

TEST_F(OwnCopy, WithoutACacheDirectoryAListIsRefusedAndCopiesAreReported)
{
    EXPECT_FALSE(setLazily());
    EXPECT_EQ(RecordingLog::messages(7), (Messages{"Failed to get the first file in the directory. Error: 123",
                                                   "Could not create cache directory(3): "}));
    mOwner.putDropList({mFolder.addFile(L"a.txt")});
    EXPECT_EQ(detect(), mFiles);
}

TEST_F(OwnCopy, AFailedPreparationLeavesTheNextCopyToTheUser)
{
    ASSERT_TRUE(init());
    ASSERT_TRUE(setLazily());
    EXPECT_FALSE(setLazily({}));
    EXPECT_TRUE(mListener->events().empty());
    mOwner.putDropList({mFolder.addFile(L"a.txt")});
    EXPECT_EQ(detect(), mFiles);
}

TEST_F(OwnCopy, AHostileListIsRefusedBeforeTheCacheIsCleaned)
{
    ASSERT_TRUE(init());
    const std::wstring kept = mFolder.addFile(L"cache\\kept.txt");
    for (const std::string name : {"..\\a.txt", "\\a.txt", "C:\\a.txt", "a\\..\\..\\b"}) {
        EXPECT_FALSE(setLazily({"fine.txt", name})) << name;
        ASSERT_EQ(RecordingLog::messages(6).size(), 1u);
        EXPECT_EQ(RecordingLog::messages(6)[0].rfind("Refuse guest file list, entry 1: ", 0), 0u);
        EXPECT_EQ(RecordingLog::messages(5),
                  (Messages{"Enter", "Use file lazy renderer to handle file clipboard data"}));
    }
    EXPECT_TRUE(GetFileAttributesW(kept.c_str()) != INVALID_FILE_ATTRIBUTES);
    EXPECT_TRUE(mListener->events().empty());
}

TEST_F(OwnCopy, WhereTheGuestTakesNoFilesNothingIsPrepared)
{
    ASSERT_TRUE(init());
    mEngine.SetFileClipboardSupported(false);
    EXPECT_FALSE(setLazily());
    EXPECT_EQ(RecordingLog::messages(), (Messages{"Enter", "Qsp file clipboard disabled"}));
    ASSERT_EQ(mListener->events().size(), 1u);
    EXPECT_EQ(mListener->events()[0].message, "received guest file list but guest not support");
    EXPECT_EQ(mListener->events()[0].number, 1);
}

TEST_F(OwnCopy, TheStartIsWhatTheRendererSays)
{
    gHasDrives = false;
    EXPECT_FALSE(init());
    EXPECT_EQ(RecordingLog::messages(7).back(), "Failed to monitor drives!");
    EXPECT_EQ(ClipboardImpl::GetCacheDirectory(), mFolder.utf8Path() + "/cache/");  // as the host wrote it
    gHasDrives = true;
    EXPECT_TRUE(init());
    RecordingLog::clear();
    EXPECT_TRUE(mEngine.InitFileLazyRenderer("D:/other/"));
    EXPECT_EQ(RecordingLog::messages(5), Messages{"File clipboard lazy renderer already initialized"});
    EXPECT_EQ(ClipboardImpl::GetCacheDirectory(), "D:/other/");
}

TEST_F(OwnCopy, TheHostsReportIsForwardedAndASecondOneThrowsAtTheHost)
{
    ASSERT_TRUE(init());
    ASSERT_TRUE(setLazily());
    RecordingLog::clear();
    mEngine.NotifyFileLazyRenderingComplete(9);
    EXPECT_EQ(RecordingLog::messages(5),
              (Messages{"Notify file lazy rendering result 9", "Notify file lazy rendering copy done(9)"}));
    EXPECT_EQ(RecordingLog::messages().size(), 2u);
    EXPECT_THROW(mEngine.NotifyFileLazyRenderingComplete(9), std::future_error);
}

TEST_F(OwnCopy, EveryTurnOfTheRoutesAndTheUserIsTheRightOne)
{
    ASSERT_TRUE(init());
    const std::wstring file = mFolder.addFile(L"a.txt");
    for (int round = 0; round < 20; ++round) {
        ASSERT_TRUE(setLazily());
        EXPECT_EQ(detect(), mNobody) << round;
        mOwner.putDropList({file});
        EXPECT_EQ(detect(), mFiles) << round;
        mOwner.putText(L"text");
        EXPECT_EQ(detect(), mNoFiles) << round;
    }
}
