#include <gtest/gtest.h>

#include <algorithm>

#include "engine_access.h"
#include "support/clipboard_owner.h"
#include "support/import_hook.h"
#include "support/journal.h"
#include "support/recording_listener.h"
#include "support/recording_log.h"

using namespace sd::clip;

namespace {

using Formats = std::vector<ClipboardFormat>;
using Messages = std::vector<std::string>;
const Formats kFiles = {ClipboardFormat::File};
const Formats kNothing;

// A change is first asked whether it is the renderer's own placeholder, which no file on the clipboard is here.
const char kConsumes[] = "Consume file lazy renderer copy 0";
const char kNotOurs[] = "Get clipboard data failed! error code 1418";

std::vector<UINT> gEnumerated;
std::vector<UINT> gUpdated;
UINT gUpdatedCount = 0;
BOOL gUpdatedResult = TRUE;
std::vector<UINT> gRead;
decltype(&CloseClipboard) gRealClose = nullptr;

UINT WINAPI enumerateNext(UINT previous)
{
    if (previous == 0)
        return gEnumerated.empty() ? 0 : gEnumerated.front();
    const auto next = std::find(gEnumerated.begin(), gEnumerated.end(), previous) + 1;
    return next == gEnumerated.end() ? 0 : *next;
}

BOOL WINAPI giveUpdated(PUINT formats, UINT capacity, PUINT count)
{
    EXPECT_EQ(capacity, 100u);
    std::copy_n(gUpdated.begin(), std::min<std::size_t>(gUpdated.size(), capacity), formats);
    *count = gUpdatedCount;
    SetLastError(122);
    return gUpdatedResult;
}

HANDLE WINAPI readNothing(UINT format)
{
    gRead.push_back(format);
    return nullptr;
}

BOOL WINAPI closeLeavingAnError()
{
    const BOOL closed = gRealClose();
    SetLastError(ERROR_CLIPBOARD_NOT_OPEN);
    return closed;
}

// The two platform lists are the test's own, and no file can be read.
class CopyDetection : public testing::Test {
protected:
    CopyDetection()
    {
        gEnumerated.clear();
        setUpdated({});
        gUpdatedResult = TRUE;
        gRead.clear();
        gRealClose = mClose.real();
        mEngine.SetListener(mListener);
        mEngine.SetFileClipboardSupported(true);
    }

    static void setUpdated(std::vector<UINT> formats)
    {
        gUpdated = std::move(formats);
        gUpdatedCount = static_cast<UINT>(gUpdated.size());
    }

    Formats detect()
    {
        mListener->clear();
        TestAccess::detectCopy(mEngine);
        EXPECT_EQ(mListener->reports().size(), 1u);
        return mListener->reports().back();
    }

    void expectIgnoredWith(const std::string& message)
    {
        ASSERT_EQ(mListener->events().size(), 1u);
        const RecordedEvent event = mListener->events()[0];
        EXPECT_EQ(event.operation, "clipboardFileCopy");
        EXPECT_EQ(event.stage, "condition");
        EXPECT_EQ(event.dataType, "file");
        EXPECT_EQ(event.number, -1);
        EXPECT_EQ(event.message, message);
        EXPECT_EQ(event.result, "sucess");
        EXPECT_EQ(event.errorCode, "");
        EXPECT_EQ(event.errorDetail, "");
    }

    ClipboardImpl& mEngine = TestAccess::makeEngine();
    const std::shared_ptr<RecordingListener> mListener = std::make_shared<RecordingListener>();
    const ImportHook<decltype(&EnumClipboardFormats)> mEnumerate{nullptr, "EnumClipboardFormats", &enumerateNext};
    const ImportHook<decltype(&GetUpdatedClipboardFormats)> mUpdate{nullptr, "GetUpdatedClipboardFormats",
                                                                    &giveUpdated};
    const ImportHook<decltype(&::GetClipboardData)> mRead{nullptr, "GetClipboardData", &readNothing};
    const ImportHook<decltype(&CloseClipboard)> mClose{nullptr, "CloseClipboard", &closeLeavingAnError};
};

}  // namespace

TEST_F(CopyDetection, FilesAreReported)
{
    setUpdated({49161, CF_HDROP});
    EXPECT_EQ(detect(), kFiles);
    EXPECT_TRUE(mListener->events().empty());
    EXPECT_EQ(RecordingLog::messages(), (Messages{kConsumes, kNotOurs, "Add clipformat:6, cfformat:15"}));
    EXPECT_EQ(RecordingLog::messages(5), (Messages{kConsumes, "Add clipformat:6, cfformat:15"}));
    EXPECT_EQ(RecordingLog::messages(6), Messages{kNotOurs});
}

TEST_F(CopyDetection, TextIsReportedAsAnEmptyListWithoutAnEvent)
{
    setUpdated({CF_UNICODETEXT, CF_LOCALE, CF_TEXT, CF_OEMTEXT});
    EXPECT_EQ(detect(), kNothing);
    EXPECT_TRUE(mListener->events().empty());
    EXPECT_EQ(RecordingLog::messages(), (Messages{kConsumes, kNotOurs}));
}

TEST_F(CopyDetection, FilesAreIgnoredWithAnEventWhileTheGuestTakesNone)
{
    mEngine.SetFileClipboardSupported(false);
    setUpdated({CF_HDROP});
    EXPECT_EQ(detect(), kNothing);
    expectIgnoredWith("client copy file but guest not support");
    EXPECT_EQ(RecordingLog::messages(5), (Messages{kConsumes, "Qsp file clipboard disabled"}));
}

TEST_F(CopyDetection, OnlyTheLookForThePlaceholderReadsTheClipboardWhetherTheGuestTakesFilesOrNot)
{
    for (const bool supported : {false, true}) {
        gRead.clear();
        mEngine.SetFileClipboardSupported(supported);
        setUpdated({CF_HDROP});
        EXPECT_EQ(detect(), supported ? kFiles : kNothing);
        EXPECT_EQ(gRead, std::vector<UINT>{CF_HDROP});
        EXPECT_FALSE(RecordingLog::hasLine(5, "clipformat:"));  // no read for the guest
    }
}

TEST_F(CopyDetection, FilesBesideABitmapAreIgnoredWithOneEventInEitherOrder)
{
    for (const auto& formats : {std::vector<UINT>{CF_HDROP, CF_BITMAP}, std::vector<UINT>{CF_BITMAP, CF_HDROP}}) {
        RecordingLog::clear();
        setUpdated(formats);
        EXPECT_EQ(detect(), kNothing);
        expectIgnoredWith("client copy file when pic copy at same time, ignore");
        EXPECT_EQ(RecordingLog::messages(5),
                  (Messages{kConsumes, "Qsp file clipboard ignore when pic copy at same time"}));
    }
}

TEST_F(CopyDetection, ABitmapBesideFilesIsNotLookedAtWhileTheGuestTakesNone)
{
    mEngine.SetFileClipboardSupported(false);
    setUpdated({CF_HDROP, CF_BITMAP});
    EXPECT_EQ(detect(), kNothing);
    expectIgnoredWith("client copy file but guest not support");
}

TEST_F(CopyDetection, AnotherFormOfPictureDoesNotKeepFilesBack)
{
    setUpdated({CF_DIB, CF_HDROP, CF_DIBV5});
    EXPECT_EQ(detect(), kFiles);
}

TEST_F(CopyDetection, OnlyTheFirstHundredFormatsAreLookedAt)
{
    std::vector<UINT> formats(99, CF_TEXT);
    formats.push_back(CF_HDROP);
    formats.push_back(CF_BITMAP);  // number 101
    setUpdated(formats);
    EXPECT_EQ(gUpdatedCount, 101u);
    EXPECT_EQ(detect(), kFiles);

    formats.insert(formats.begin(), CF_TEXT);  // files are number 101 now
    setUpdated(formats);
    EXPECT_EQ(detect(), kNothing);
    EXPECT_TRUE(mListener->events().empty());
}

TEST_F(CopyDetection, ACountFarBeyondTheBufferIsNotBelieved)
{
    setUpdated(std::vector<UINT>(100, CF_HDROP));
    gUpdatedCount = 0xFFFFFFFF;
    EXPECT_EQ(detect(), Formats(100, ClipboardFormat::File));
}

TEST_F(CopyDetection, AFailureToListFormatsIsLoggedAndReportedAsAnEmptyList)
{
    setUpdated({CF_HDROP});
    gUpdatedResult = FALSE;
    EXPECT_EQ(detect(), kNothing);
    EXPECT_EQ(RecordingLog::messages(6),
              (Messages{kNotOurs, "GetUpdatedClipboardFormats return error, error code 122"}));
}

TEST_F(CopyDetection, TheLongerOfTheTwoListsCounts)
{
    gEnumerated = {CF_TEXT};
    setUpdated({CF_HDROP, CF_LOCALE});
    EXPECT_EQ(detect(), kFiles);

    gEnumerated = {CF_HDROP, CF_LOCALE};
    setUpdated({CF_TEXT});
    EXPECT_EQ(detect(), kFiles);
}

TEST_F(CopyDetection, OnATieTheEnumeratedListWins)
{
    gEnumerated = {CF_HDROP};
    setUpdated({CF_TEXT});
    EXPECT_EQ(detect(), kFiles);
    gEnumerated = {CF_TEXT};
    setUpdated({CF_HDROP});
    EXPECT_EQ(detect(), kNothing);
}

TEST_F(CopyDetection, TheCountOfThePlatformDecidesEvenBeyondTheBuffer)
{
    gEnumerated.assign(1, CF_TEXT);
    for (UINT format = 500; gEnumerated.size() < 120; ++format)
        gEnumerated.push_back(format);
    setUpdated(std::vector<UINT>(150, CF_HDROP));
    EXPECT_EQ(detect(), Formats(100, ClipboardFormat::File));
}

TEST_F(CopyDetection, AFormatThatIsListedTwiceIsReportedTwice)
{
    setUpdated({CF_HDROP, CF_HDROP});
    EXPECT_EQ(detect(), (Formats{ClipboardFormat::File, ClipboardFormat::File}));
}

TEST_F(CopyDetection, WithoutAListenerItDropsListsAndEventsSilently)
{
    mEngine.SetListener(nullptr);
    setUpdated({CF_HDROP, CF_BITMAP});
    TestAccess::detectCopy(mEngine);
    mEngine.SetFileClipboardSupported(false);
    TestAccess::detectCopy(mEngine);
    EXPECT_EQ(RecordingLog::messages(),
              (Messages{kConsumes, kNotOurs, "Qsp file clipboard ignore when pic copy at same time", kConsumes,
                        kNotOurs, "Qsp file clipboard disabled"}));
}

TEST_F(CopyDetection, AListenerMayBeReplacedByTheCallItAnswers)
{
    const auto next = std::make_shared<RecordingListener>();
    const auto first = std::make_shared<RecordingListener>();
    first->duringFormats = [this, next](const Formats&) { mEngine.SetListener(next); };
    mEngine.SetListener(first);
    setUpdated({CF_HDROP});
    TestAccess::detectCopy(mEngine);
    EXPECT_EQ(first->reports().size(), 1u);
    TestAccess::detectCopy(mEngine);
    EXPECT_EQ(next->reports().size(), 1u);
}

TEST_F(CopyDetection, TheLookupGivesTheFirstKeyOfAPlatformFormatOrNone)
{
    EXPECT_EQ(TestAccess::formatFromPlatform(mEngine, CF_HDROP), ClipboardFormat::File);
    EXPECT_EQ(TestAccess::formatFromPlatform(mEngine, CF_BITMAP), ClipboardFormat());
    TestAccess::formatMap(mEngine)[ClipboardFormat::Text] = CF_HDROP;
    EXPECT_EQ(TestAccess::formatFromPlatform(mEngine, CF_HDROP), ClipboardFormat::Text);
}

TEST_F(CopyDetection, AFormatThatTheHostAskedForInVainIsNeverReported)
{
    mEngine.GetClipboardData(ClipboardFormat::Text);
    setUpdated({CF_UNICODETEXT});
    EXPECT_EQ(detect(), kNothing);
}

namespace {

void note(const char* call)
{
    Journal::shared().add(call);
}

decltype(&OpenClipboard) gRealOpen = nullptr;
decltype(&EnumClipboardFormats) gRealEnumerate = nullptr;

}  // namespace

TEST(CopyDetectionForReal, ItSeesFilesWithoutOpeningTheClipboard)
{
    ClipboardImpl& engine = TestAccess::makeEngine();
    const auto listener = std::make_shared<RecordingListener>();
    engine.SetListener(listener);
    engine.SetFileClipboardSupported(true);
    ClipboardOwner().putDropList({L"C:\\windows"});
    Journal::shared().clear();
    const ImportHook<decltype(&OpenClipboard)> open(
        nullptr, "OpenClipboard", +[](HWND owner) -> BOOL {
            note("open");
            return gRealOpen(owner);
        });
    const ImportHook<decltype(&CloseClipboard)> close(
        nullptr, "CloseClipboard", +[]() -> BOOL {
            note("close");
            return gRealClose();
        });
    const ImportHook<decltype(&EnumClipboardFormats)> enumerate(
        nullptr, "EnumClipboardFormats", +[](UINT previous) -> UINT {
            note("enumerate");
            return gRealEnumerate(previous);
        });
    gRealOpen = open.real();
    gRealClose = close.real();
    gRealEnumerate = enumerate.real();
    TestAccess::detectCopy(engine);
    ASSERT_EQ(listener->reports().size(), 1u);
    EXPECT_EQ(listener->reports()[0], kFiles);
    // open for the look for the placeholder, and closed again before the formats are listed
    EXPECT_EQ(Journal::shared().entries(),
              (std::vector<std::string>{"log 5 Consume file lazy renderer copy 0", "open",
                                        "log 5 Try to match lazy render cache file for copy: C:\\windows", "close",
                                        "enumerate", "log 5 Add clipformat:6, cfformat:15"}));
}

TEST(CopyDetectionForReal, MoreThanAHundredFormatsAreReportedAsAnEmptyList)
{
    ClipboardImpl& engine = TestAccess::makeEngine();
    const auto listener = std::make_shared<RecordingListener>();
    engine.SetListener(listener);
    engine.SetFileClipboardSupported(true);
    ClipboardOwner owner;
    owner.open();
    owner.addDropList({L"C:\\windows"});
    for (int i = 0; i < 100; ++i)
        owner.addBlock(RegisterClipboardFormatW((L"format " + std::to_wstring(i)).c_str()), "x", 1);
    owner.close();
    TestAccess::detectCopy(engine);
    EXPECT_EQ(listener->reports(), std::vector<Formats>{kNothing});
    EXPECT_EQ(RecordingLog::count(6, "GetUpdatedClipboardFormats return error, error code 122"), 1);
    owner.putNothing();
}
