// Both routes in turn, with copies of the user between them.
#include <algorithm>

#include "example_support/utf8_arguments.h"
#include "lazy_test.h"
#include "support/clipboard_owner.h"
#include "support/recording_log.h"

using namespace sd::clip;

namespace {

constexpr int kRounds = 20;
const std::vector<std::string> kNoEvents;
const std::vector<std::string> kEventsOfStreams = {"setClipboard/setComplete", "clientPaste/getFileContent",
                                                   "triggerClipboardFilePaste/", "transferFinish/oneFileFinish",
                                                   "endClipboardFile/"};

class LazyTwoRoutes : public LazyTest {
protected:
    // What the host was told since the last call: the events, and how often it was told of files. One step of a program
    // can be several changes of the clipboard, so reports of nothing are not counted.
    void expectTold(const std::vector<std::string>& events, std::size_t reportsOfFiles)
    {
        std::vector<std::string> told;
        for (const RecordedEvent& event : mHost.listener().events())
            told.push_back(event.operation + "/" + event.stage);
        const auto reports = mHost.listener().reports();
        const auto ofFiles = std::count(reports.begin(), reports.end(), std::vector{ClipboardFormat::File});
        const auto ofNothing = std::count(reports.begin(), reports.end(), std::vector<ClipboardFormat>());
        EXPECT_EQ(told, events);
        EXPECT_EQ(static_cast<std::size_t>(ofFiles), reportsOfFiles);
        EXPECT_EQ(static_cast<std::size_t>(ofFiles + ofNothing), reports.size());
        mHost.listener().clear();
    }

    void pasteByPlaceholder(int round)
    {
        const auto list = arm({"lazy " + std::to_string(round)});
        const std::wstring folder = round % 2 == 0 ? mFolder.path() : mOther.path();
        if (round % 5 == 0)
            EXPECT_EQ(pasteInto(folder), kPasteWritten) << mOutput;
        else
            landIn(folder);
        expectLanded(*list, 1, folder);
        EXPECT_FALSE(fileExists(folder + L"\\" + placeholderName()));
        EXPECT_NO_THROW(mHost.clipboard().NotifyFileLazyRenderingComplete(0));
        expectTold(kNoEvents, 0);
    }

    void copyFileAsUser(int round)
    {
        const std::string name = "users " + std::to_string(round) + ".txt";
        ClipboardOwner().putDropList({mFolder.addFile(toUtf16(name), "1")});
        ASSERT_TRUE(mHost.listener().waitForFiles());
        const auto files = mHost.receive();
        ASSERT_EQ(files.size(), 1U);
        EXPECT_EQ(files[0].fileName, name);
        expectTold(kNoEvents, 1);
    }

    void pasteAsStreams(int round)
    {
        const std::wstring target = L"streams " + std::to_wstring(round);
        const auto list = offerNew({{"", "small.bin", makeBytes(static_cast<std::size_t>(round) * 1000)}});
        EXPECT_TRUE(mHost.listener().waitForReports(1));
        EXPECT_EQ(paste(target), kPasteWritten) << mOutput;
        expectPasted(*list, target);
        EXPECT_TRUE(waitForEvents("endClipboardFile", 1));
        EXPECT_EQ(list->requests(), 1);
        EXPECT_EQ(list->cancels(), 0);
        expectTold(kEventsOfStreams, 0);
    }

    void copyTextAsUser()
    {
        ClipboardOwner().putText(L"hello");
        ASSERT_TRUE(mHost.listener().waitForReports(1));
        expectTold(kNoEvents, 0);
    }
};

}  // namespace

TEST_F(LazyTwoRoutes, TwentyTimesInTurnEachEventIsTheRightOne)
{
    for (int round = 1; round <= kRounds && !HasFailure(); ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        pasteByPlaceholder(round);
        copyFileAsUser(round);
        pasteAsStreams(round);
        copyTextAsUser();
    }
}
