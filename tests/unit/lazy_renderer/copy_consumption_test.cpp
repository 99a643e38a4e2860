// Whether a change of the clipboard is taken for the renderer's own.
#include <gtest/gtest.h>
#include <windows.h>

#include <shellapi.h>

#include "clipboard_holder.h"
#include "file_utilities/encoding.h"
#include "renderer_access.h"
#include "support/clipboard_owner.h"
#include "support/import_hook.h"
#include "support/platform_function.h"
#include "support/recording_log.h"
#include "support/temporary_folder.h"

using namespace sd::clip;

namespace {

const char kNotPending[] = "log 5 Consume file lazy renderer copy 0";
const char kTries[] = "log 5 Try to match lazy render cache file for copy: ";
const char kMatches[] = "log 5 Copied file path match cache dir, bypass lazy render: ";
constexpr UINT kCount = 0xFFFFFFFF;

void note(const std::string& text)
{
    Journal::shared().add(text);
}

// ---- what the platform is asked, with the calls that are to fail ----

struct Failing {
    int opens = 0;  // that many fail
    DWORD openError = ERROR_ACCESS_DENIED;
    DWORD lastOpenError = 0;  // of the last one that fails, if another
    DWORD closeError = 0;
    bool read = false;
    bool lock = false;
    bool count = false;
    bool length = false;
} gFailing;

decltype(&OpenClipboard) gOpen = nullptr;
decltype(&CloseClipboard) gClose = nullptr;
decltype(&GetClipboardData) gRead = nullptr;
decltype(&DragQueryFileW) gQuery = nullptr;
const auto gSleep = findInKernel32<decltype(&Sleep)>("Sleep");
const auto gLock = findInKernel32<decltype(&GlobalLock)>("GlobalLock");
const auto gUnlock = findInKernel32<decltype(&GlobalUnlock)>("GlobalUnlock");

BOOL WINAPI open(HWND owner)
{
    note(owner == nullptr ? "open" : "open for a window");
    if (gFailing.opens == 0)
        return gOpen(owner);
    const bool isLast = --gFailing.opens == 0 && gFailing.lastOpenError != 0;
    SetLastError(isLast ? gFailing.lastOpenError : gFailing.openError);
    return FALSE;
}

BOOL WINAPI close()
{
    note("close");
    const BOOL closed = gClose();
    SetLastError(gFailing.closeError);
    return closed;
}

HANDLE WINAPI read(UINT format)
{
    note("read " + std::to_string(format));
    return gFailing.read ? nullptr : gRead(format);
}

UINT WINAPI query(HDROP drop, UINT index, LPWSTR buffer, UINT units)
{
    if (index == kCount) {
        EXPECT_TRUE(buffer == nullptr && units == 0);
        note("count");
        return gFailing.count ? 0 : gQuery(drop, index, buffer, units);
    }
    note((buffer == nullptr ? "length of " : "path of ") + std::to_string(index) + ", " + std::to_string(units));
    return gFailing.length ? 0 : gQuery(drop, index, buffer, units);
}

// All calls go to the journal; the pauses take no time.
struct WatchedPlatform {
    explicit WatchedPlatform(Failing failing = {})
    {
        gFailing = failing;
        gOpen = openHook.real();
        gClose = closeHook.real();
        gRead = readHook.real();
        gQuery = queryHook.real();
        Journal::shared().clear();
    }
    const ImportHook<decltype(&OpenClipboard)> openHook{nullptr, "OpenClipboard", &open};
    const ImportHook<decltype(&CloseClipboard)> closeHook{nullptr, "CloseClipboard", &close};
    const ImportHook<decltype(&GetClipboardData)> readHook{nullptr, "GetClipboardData", &read};
    const ImportHook<decltype(&DragQueryFileW)> queryHook{nullptr, "DragQueryFileW", &query};
    const ImportHook<decltype(&GlobalLock)> lockHook{nullptr, "GlobalLock", +[](HGLOBAL block) -> LPVOID {
                                                         note("lock");
                                                         return gFailing.lock ? nullptr : gLock(block);
                                                     }};
    const ImportHook<decltype(&GlobalUnlock)> unlockHook{nullptr, "GlobalUnlock", +[](HGLOBAL block) -> BOOL {
                                                             note("unlock");
                                                             return gUnlock(block);
                                                         }};
    const ImportHook<decltype(&Sleep)> sleepHook{nullptr, "Sleep", +[](DWORD milliseconds) {
                                                     if (milliseconds == 100)
                                                         note("sleep 100");
                                                     else
                                                         gSleep(milliseconds);
                                                 }};
};

class CopyConsumption : public testing::Test {
protected:
    CopyConsumption()
    {
        TestAccess::setCacheDirectory(mRenderer, "C:\\cache\\");
    }
    ~CopyConsumption() override
    {
        mOwner.putNothing();
    }

    bool consume()
    {
        Journal::shared().clear();
        return mRenderer.ConsumeCopy();
    }

    // The journal of a ConsumeCopy that is no own change.
    JournalEntries consumeWith(const Failing& failing)
    {
        const WatchedPlatform platform(failing);
        EXPECT_FALSE(mRenderer.ConsumeCopy());
        return Journal::shared().entries();
    }

    ClipboardOwner mOwner;
    FileClipboardLazyRenderer mRenderer;
};

}  // namespace

TEST_F(CopyConsumption, RightAfterAPublicationTheClipboardIsNotTouchedAndTheNextCallLooks)
{
    const TemporaryFolder folder;
    TestAccess::setCacheDirectory(mRenderer, folder.utf8Path() + "\\cache\\");
    EXPECT_TRUE(mRenderer.PrepareFileLazyRendering(makeGuestRecord({"a.txt"})));
    const std::string path = folder.utf8Path() + "\\cache\\a.txt." + TestAccess::suffix(mRenderer);
    const WatchedPlatform platform;
    EXPECT_TRUE(mRenderer.ConsumeCopy());
    EXPECT_EQ(Journal::shared().entries(), (JournalEntries{"log 5 Consume file lazy renderer copy 1"}));
    EXPECT_FALSE(TestAccess::pendingOwnCopy(mRenderer));

    Journal::shared().clear();
    EXPECT_TRUE(mRenderer.ConsumeCopy());  // the placeholder still stands there
    EXPECT_EQ(Journal::shared().entries(),
              (JournalEntries{kNotPending, "open", "read 15", "lock", "count", "length of 0, 260",
                              "path of 0, " + std::to_string(path.size() + 1), kTries + path, kMatches + path, "unlock",
                              "close"}));
}

TEST_F(CopyConsumption, AUsersCopyOfOneFileElsewhereIsNotOurs)
{
    mOwner.putDropList({L"C:\\docs\\a.txt"});
    EXPECT_EQ(consumeWith({}),
              (JournalEntries{kNotPending, "open", "read 15", "lock", "count", "length of 0, 260", "path of 0, 14",
                              std::string(kTries) + "C:\\docs\\a.txt", "unlock", "close"}));
}

TEST_F(CopyConsumption, AUsersCopyOfOneFileInTheCacheIsOurs)
{
    for (const wchar_t* const path : {L"C:\\cache\\a.txt", L"C:\\cache\\sub\\b", L"C:\\cache\\"}) {
        mOwner.putDropList({path});
        EXPECT_TRUE(consume());
        EXPECT_EQ(Journal::shared().entries(),
                  (JournalEntries{kNotPending, kTries + WideToUtf8(path), kMatches + WideToUtf8(path)}));
    }
}

TEST_F(CopyConsumption, TheCacheIsFoundAnywhereInThePathAndInItsOwnLetterCaseOnly)
{
    TestAccess::setCacheDirectory(mRenderer, "cache\\");
    mOwner.putDropList({L"D:\\other\\mycache\\a.txt"});
    EXPECT_TRUE(consume());
    mOwner.putDropList({L"D:\\other\\Cache\\a.txt"});
    EXPECT_FALSE(consume());
    mOwner.putDropList({L"D:\\other\\cache"});
    EXPECT_FALSE(consume());
}

TEST_F(CopyConsumption, ACacheOutsideAsciiIsCompared)
{
    TestAccess::setCacheDirectory(mRenderer, "C:\\gr\xC3\xBC\xC3\x9F \xF0\x9F\x98\x80\\");
    mOwner.putDropList({L"C:\\gr\u00FC\u00DF \U0001F600\\a.txt"});
    EXPECT_TRUE(consume());
    mOwner.putDropList({L"C:\\gru\u00DF \U0001F600\\a.txt"});
    EXPECT_FALSE(consume());
}

TEST_F(CopyConsumption, WithoutACacheDirectoryNoCopyIsOurs)
{
    TestAccess::setCacheDirectory(mRenderer, "");
    mOwner.putDropList({L"C:\\docs\\a.txt"});
    EXPECT_FALSE(consume());
    EXPECT_EQ(Journal::shared().entries(), (JournalEntries{kNotPending, std::string(kTries) + "C:\\docs\\a.txt"}));
}

TEST_F(CopyConsumption, ACopyOfTwoFilesIsNeverOursAndNoPathIsRead)
{
    mOwner.putDropList({L"C:\\cache\\a.txt", L"C:\\cache\\b.txt"});
    EXPECT_EQ(consumeWith({}), (JournalEntries{kNotPending, "open", "read 15", "lock", "count", "unlock", "close"}));
}

TEST_F(CopyConsumption, ACopyOfTextIsNotOursAndIsLoggedAfterTheClosing)
{
    mOwner.putText(L"text");
    Failing failing;
    failing.closeError = 77;
    EXPECT_EQ(consumeWith(failing), (JournalEntries{kNotPending, "open", "read 15", "close",
                                                    "log 6 Get clipboard data failed! error code 77"}));
}

TEST_F(CopyConsumption, AnEmptyClipboardIsNotOurs)
{
    mOwner.putNothing();
    EXPECT_FALSE(consume());
    EXPECT_TRUE(RecordingLog::hasLine(6, "Get clipboard data failed! error code "));
    EXPECT_EQ(RecordingLog::messages().size(), 2u);
}

TEST_F(CopyConsumption, ABlockThatCantBeLockedIsNotOurs)
{
    mOwner.putDropList({L"C:\\cache\\a.txt"});
    Failing failing;
    failing.lock = true;
    EXPECT_EQ(consumeWith(failing),
              (JournalEntries{kNotPending, "open", "read 15", "lock", "close", "log 6 GlobalLock error!"}));
}

TEST_F(CopyConsumption, AListWithoutFilesIsNotOursAndStaysLocked)
{
    mOwner.putDropList({L"C:\\cache\\a.txt"});
    Failing failing;
    failing.count = true;
    EXPECT_EQ(consumeWith(failing),
              (JournalEntries{kNotPending, "open", "read 15", "lock", "count", "close", "log 6 Invalid copy files!"}));
}

TEST_F(CopyConsumption, APathThatThePlatformDoesNotGiveIsNotOurs)
{
    mOwner.putDropList({L"C:\\cache\\a.txt"});
    Failing failing;
    failing.length = true;
    EXPECT_EQ(consumeWith(failing), (JournalEntries{kNotPending, "open", "read 15", "lock", "count", "length of 0, 260",
                                                    "path of 0, 1", kTries, "unlock", "close"}));
}

TEST_F(CopyConsumption, APathBeyondTheUsualLengthIsComparedWhole)
{
    for (const std::size_t length : {258u, 259u, 260u, 261u, 300u, 5000u}) {
        const std::wstring start = L"D:\\" + std::wstring(length - 12, L'x');
        const std::wstring path = start + L"\\cache\\ab";
        ASSERT_EQ(path.size(), length);
        mOwner.putDropList({path});
        TestAccess::setCacheDirectory(mRenderer, "\\cache\\a");
        EXPECT_TRUE(consume()) << length;
        EXPECT_EQ(Journal::shared().entries(),
                  (JournalEntries{kNotPending, kTries + WideToUtf8(path), kMatches + WideToUtf8(path)}));
        TestAccess::setCacheDirectory(mRenderer, "\\cache\\abc");
        EXPECT_FALSE(consume()) << length;
    }
}

TEST_F(CopyConsumption, AHeldClipboardIsTriedTenTimesMoreAndReadAllTheSame)
{
    mOwner.putDropList({L"C:\\cache\\a.txt"});
    Failing failing;
    failing.opens = 100;
    failing.read = true;  // as the platform answers who has not opened it
    failing.closeError = ERROR_CLIPBOARD_NOT_OPEN;
    JournalEntries expected = {kNotPending, "open"};
    for (int i = 0; i < 10; ++i)
        expected.insert(expected.end(), {"sleep 100", "open", "log 6 Open clipboard fail. error:5"});
    expected.insert(expected.end(), {"read 15", "close", "log 6 Get clipboard data failed! error code 1418"});
    EXPECT_EQ(consumeWith(failing), expected);
}

TEST_F(CopyConsumption, AClipboardThatIsReleasedMeanwhileIsRead)
{
    mOwner.putText(L"text");
    for (int opens = 1; opens <= 10; ++opens) {
        Failing failing;
        failing.opens = opens;
        JournalEntries expected = {kNotPending, "open"};
        for (int i = 1; i < opens; ++i)
            expected.insert(expected.end(), {"sleep 100", "open", "log 6 Open clipboard fail. error:5"});
        expected.insert(expected.end(),
                        {"sleep 100", "open", "read 15", "close", "log 6 Get clipboard data failed! error code 0"});
        EXPECT_EQ(consumeWith(failing), expected) << opens;
    }
}

TEST_F(CopyConsumption, AnotherErrorOfTheOpeningEndsTheTriesAtOnce)
{
    mOwner.putText(L"text");
    Failing failing;
    failing.opens = 1;
    failing.openError = ERROR_INVALID_WINDOW_HANDLE;
    EXPECT_EQ(consumeWith(failing), (JournalEntries{kNotPending, "open", "read 15", "close",
                                                    "log 6 Get clipboard data failed! error code 0"}));
    failing.opens = 3;
    failing.openError = ERROR_ACCESS_DENIED;
    failing.lastOpenError = ERROR_INVALID_WINDOW_HANDLE;
    EXPECT_EQ(consumeWith(failing),
              (JournalEntries{kNotPending, "open", "sleep 100", "open", "log 6 Open clipboard fail. error:5",
                              "sleep 100", "open", "log 6 Open clipboard fail. error:1400", "read 15", "close",
                              "log 6 Get clipboard data failed! error code 0"}));
}

// Where a host's code on this thread has left the clipboard open.
TEST_F(CopyConsumption, AListThatCanBeReadThoughTheOpeningFailedIsUnlockedAndTheClipboardClosed)
{
    mOwner.putDropList({L"C:\\a", L"C:\\b"});
    ASSERT_TRUE(OpenClipboard(nullptr));
    Failing failing;
    failing.opens = 1;
    failing.openError = ERROR_INVALID_WINDOW_HANDLE;
    EXPECT_EQ(consumeWith(failing),
              (JournalEntries{kNotPending, "open", "read 15", "lock", "count", "unlock", "close"}));
    EXPECT_FALSE(EmptyClipboard());
}

TEST_F(CopyConsumption, AClipboardThatAnotherProcessHoldsIsNotOursAfterASecond)
{
    const ClipboardHolder holder;
    ASSERT_TRUE(holder.holds());
    const ULONGLONG begin = GetTickCount64();
    EXPECT_FALSE(consume());
    EXPECT_GE(GetTickCount64() - begin, 950u);
    EXPECT_EQ(RecordingLog::count(6, "Open clipboard fail. error:5"), 10);
    EXPECT_EQ(RecordingLog::count(6, "Get clipboard data failed! error code 1418"), 1);
}

TEST_F(CopyConsumption, TheFlagAnswersForOneChangeOfSeveralAtOnce)
{
    mOwner.putText(L"text");
    for (int round = 0; round < 50; ++round) {
        TestAccess::pendingOwnCopy(mRenderer) = true;
        auto other = std::async(std::launch::async, [this] { return mRenderer.ConsumeCopy(); });
        const bool own = mRenderer.ConsumeCopy();
        EXPECT_NE(own, other.get());
    }
}

TEST_F(CopyConsumption, ItDoesNotWaitForAPreparation)
{
    TestAccess::pendingOwnCopy(mRenderer) = true;
    const auto lock = TestAccess::lock(mRenderer);
    EXPECT_TRUE(std::async(std::launch::async, [this] { return mRenderer.ConsumeCopy(); }).get());
}
