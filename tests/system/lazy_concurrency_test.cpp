// Landings on two drives at once, and landings while a list is prepared.
#include <algorithm>
#include <atomic>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "example_support/utf8_arguments.h"
#include "lazy_test.h"
#include "support/import_hook.h"
#include "support/journal.h"
#include "support/recording_log.h"

namespace {

// Where the library's preparation stops, with its lock held, while a gate is set: before its placeholder is made, or
// with the placeholder in the cache. From there it fails.
std::atomic<Gate*> gPreparationGate{nullptr};
std::atomic<Gate*> gPublicationGate{nullptr};

std::atomic<DWORD> gPreparingThread{0};
std::atomic<int> gLooksForMessages{0};  // of that thread, which serves what is sent to it while it waits for the lock

BOOL WINAPI createDirectoryAtGate(LPCWSTR path, LPSECURITY_ATTRIBUTES attributes)
{
    if (Gate* const gate = gPreparationGate)
        gate->pass();
    return CreateDirectoryW(path, attributes);
}

BOOL WINAPI openClipboardAtGate(HWND owner)
{
    Gate* const gate = gPublicationGate;
    if (gate == nullptr || GetCurrentThreadId() != gPreparingThread)
        return OpenClipboard(owner);
    gate->pass();
    SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
}

BOOL WINAPI noteLookForMessages(LPMSG message, HWND window, UINT first, UINT last, UINT remove)
{
    if (GetCurrentThreadId() == gPreparingThread)
        ++gLooksForMessages;
    return PeekMessageW(message, window, first, last, remove);
}

// Comes to its end however the test does.
class ThreadBehindGate {
public:
    ThreadBehindGate(Gate& gate, std::function<void()> function) : mGate(gate), mThread(std::move(function)) {}
    ~ThreadBehindGate()
    {
        openAndJoin();
    }
    ThreadBehindGate(const ThreadBehindGate&) = delete;
    ThreadBehindGate& operator=(const ThreadBehindGate&) = delete;

    void openAndJoin()
    {
        mGate.open();
        if (mThread.joinable())
            mThread.join();
    }

private:
    Gate& mGate;
    std::thread mThread;
};

struct PreparationHooks {
    const HMODULE dll = GetModuleHandleW(L"md-clipboard.dll");
    const ImportHook<decltype(&CreateDirectoryW)> createDirectory{dll, "CreateDirectoryW", &createDirectoryAtGate};
    const ImportHook<decltype(&OpenClipboard)> openClipboard{dll, "OpenClipboard", &openClipboardAtGate};
    const ImportHook<decltype(&PeekMessageW)> peekMessage{dll, "PeekMessageW", &noteLookForMessages};
};

class LazyConcurrency : public LazyTest {
protected:
    LazyConcurrency()
    {
        // Never taken back: a watcher of an earlier test may stand in them.
        [[maybe_unused]] static const auto& hooks = *new PreparationHooks;
    }
    ~LazyConcurrency() override
    {
        gPreparationGate = nullptr;
        gPublicationGate = nullptr;
        gPreparingThread = 0;
        gLooksForMessages = 0;
    }

    // From the one thread that is watched.
    bool offerWatched(const std::shared_ptr<LazyList>& list, const std::vector<std::string>& fileNames)
    {
        gPreparingThread = GetCurrentThreadId();
        return offerLazily(list, fileNames);
    }

    std::vector<std::wstring> listCache() const
    {
        std::vector<std::wstring> names;
        for (const auto& entry : std::filesystem::directory_iterator(mFolder.path() + L"\\cache"))
            names.push_back(entry.path().filename().wstring());
        return names;
    }
};

}  // namespace

// The first of both waits in the host's callback until the other watcher has been given its own.
TEST_F(LazyConcurrency, LandingsOnTwoDrivesAtOnceAreToldOneAfterTheOther)
{
    std::atomic<int> inside{0};
    std::atomic<int> most{0};
    std::wstring onC;
    std::wstring onD;
    const auto list = arm({"report.txt"}, [&](const Landing&) {
        const int now = ++inside;
        most = std::max<int>(most, now);
        EXPECT_TRUE(mReads.waitUntilGiven(onC));
        EXPECT_TRUE(mReads.waitUntilGiven(onD));
        --inside;
        return 0;
    });
    onC = mFolder.path() + L"\\" + placeholderName();
    onD = mOther.path() + L"\\" + placeholderName();
    settle(L'C');
    settle(L'D');
    std::thread other([&] { makeEmptyFile(onD); });
    makeEmptyFile(onC);
    other.join();
    awaitHandling(onC);
    awaitHandling(onD);
    ASSERT_TRUE(list->waitForLandings(2));
    EXPECT_EQ(most, 1);
    std::vector<std::string> roots = {list->landings()[0].root, list->landings()[1].root};
    std::sort(roots.begin(), roots.end());
    EXPECT_EQ(roots, (std::vector<std::string>{toUtf8(mFolder.path()), toUtf8(mOther.path())}));
    EXPECT_FALSE(fileExists(onC));
    EXPECT_FALSE(fileExists(onD));
}

// The watcher comes after the preparation, and then the old placeholder is none of the library's any more.
TEST_F(LazyConcurrency, ALandingDuringAPreparationWaitsForItAndBelongsToNobody)
{
    const auto first = arm();
    const std::wstring landed = mOther.path() + L"\\" + placeholderName();
    Gate gate;
    gPreparationGate = &gate;
    const auto second = std::make_shared<LazyList>();
    settle(L'D');
    ThreadBehindGate preparation(gate, [&] { EXPECT_TRUE(offerLazily(second, {"second.txt"})); });
    ASSERT_TRUE(gate.waitForArrival());
    makeEmptyFile(landed);
    EXPECT_TRUE(mReads.waitUntilGiven(landed));
    mReads.waitUntilWatcherWaits(landed);
    EXPECT_FALSE(mReads.isHandled(landed));
    preparation.openAndJoin();
    EXPECT_TRUE(mReads.waitUntilHandled(landed));
    EXPECT_TRUE(first->landings().empty());
    EXPECT_TRUE(fileExists(landed));
    EXPECT_FALSE(RecordingLog::hasLine(5, "Try to start lazy rendering file copy: "));
}

// Under the new placeholder's name, which is the one that the library looks for by then.
TEST_F(LazyConcurrency, ALandingDuringAPreparationThatFailsWaitsForItAndBelongsToNobodyEither)
{
    const auto first = arm({"report.txt"});
    Gate gate;
    gPublicationGate = &gate;
    const auto second = std::make_shared<LazyList>();
    settle(L'D');
    ThreadBehindGate preparation(gate, [&] { EXPECT_FALSE(offerWatched(second, {"report.txt"})); });
    ASSERT_TRUE(gate.waitForArrival());
    ASSERT_EQ(listCache().size(), 1u);
    ASSERT_NE(listCache().front(), placeholderName());
    const std::wstring landed = mOther.path() + L"\\" + listCache().front();
    makeEmptyFile(landed);
    EXPECT_TRUE(mReads.waitUntilGiven(landed));
    mReads.waitUntilWatcherWaits(landed);
    EXPECT_FALSE(mReads.isHandled(landed));
    preparation.openAndJoin();
    EXPECT_TRUE(mReads.waitUntilHandled(landed));
    EXPECT_TRUE(first->landings().empty());
    EXPECT_TRUE(second->landings().empty());
    EXPECT_TRUE(fileExists(landed));
    EXPECT_FALSE(RecordingLog::hasLine(5, "Try to start lazy rendering file copy: "));
}

TEST_F(LazyConcurrency, APreparationDuringALandingWaitsForTheHostsAnswerBeforeItsFirstStep)
{
    Gate answer;
    const auto first = arm({"report.txt"}, [&](const Landing&) {
        answer.pass();
        Journal::shared().add("the host answers");
        return 0;
    });
    ThreadBehindGate landing(answer, [&] { landIn(mOther.path()); });
    ASSERT_TRUE(answer.waitForArrival());
    const std::wstring leftover = mFolder.path() + L"\\cache\\leftover";  // a preparation that does not wait deletes it
    makeEmptyFile(leftover);
    Journal::shared().clear();
    Gate directory;  // a preparation that does not wait comes here
    gPreparationGate = &directory;
    const auto second = std::make_shared<LazyList>();
    ThreadBehindGate preparation(answer, [&] { EXPECT_TRUE(offerWatched(second, {"second.txt"})); });
    EXPECT_TRUE(waitUntil([&] { return gLooksForMessages > 0 || directory.waitForArrival(0); }));
    EXPECT_FALSE(directory.waitForArrival(0));
    EXPECT_TRUE(fileExists(leftover));
    directory.open();
    preparation.openAndJoin();
    landing.openAndJoin();
    expectLanded(*first, 1, mOther.path());
    const int answered = Journal::shared().find("the host answers");
    const int prepared = Journal::shared().find("Start watching file by file clipboard lazy renderer done.");
    EXPECT_GE(answered, 0);
    EXPECT_GT(prepared, answered);
    EXPECT_FALSE(fileExists(leftover));
}

TEST_F(LazyConcurrency, TheHostMayOfferTheNextListInsideTheCallback)
{
    const auto second = std::make_shared<LazyList>();
    bool taken = false;
    const auto first = arm({"report.txt"}, [&](const Landing&) {
        taken = offerLazily(second, {"second.txt"});
        return 0;
    });
    landIn(mOther.path());
    expectLanded(*first, 1, mOther.path());
    EXPECT_TRUE(taken);
}

TEST_F(LazyConcurrency, ThirtyListsInARowEachLandWhileTheOtherDriveIsBusy)
{
    std::atomic<bool> stop{false};
    std::thread busy([&] {
        for (int i = 0; !stop; ++i) {
            const std::wstring path = mOther.path() + L"\\busy" + std::to_wstring(i % 100);
            DeleteFileW(path.c_str());
            makeEmptyFile(path);
            Sleep(1);
        }
    });
    for (int i = 0; i < 30; ++i) {
        const auto list = arm({"list " + std::to_string(i)});
        landIn(mFolder.path());
        expectLanded(*list, 1, mFolder.path());
    }
    stop = true;
    busy.join();
}
