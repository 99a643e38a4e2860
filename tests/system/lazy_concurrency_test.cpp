// Landings on two drives at once, and landings while a list is prepared.
#include <algorithm>
#include <atomic>
#include <functional>
#include <thread>
#include <utility>

#include "example_support/utf8_arguments.h"
#include "lazy_test.h"
#include "support/import_hook.h"
#include "support/journal.h"
#include "support/recording_log.h"

namespace {

// Where the library's preparation stops, with its lock held, while a gate is set; and whether it fails there.
std::atomic<Gate*> gPreparationGate{nullptr};
std::atomic<bool> gPreparationFails{false};

BOOL WINAPI createDirectoryAtGate(LPCWSTR path, LPSECURITY_ATTRIBUTES attributes)
{
    if (Gate* const gate = gPreparationGate)
        gate->pass();
    if (!gPreparationFails)
        return CreateDirectoryW(path, attributes);
    SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
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

class LazyConcurrency : public LazyTest {
protected:
    ~LazyConcurrency() override
    {
        gPreparationGate = nullptr;
        gPreparationFails = false;
    }

    // Never taken back: a watcher of an earlier test may stand in it.
    void holdPreparationsAt(Gate& gate)
    {
        static auto& hook = *new ImportHook<decltype(&CreateDirectoryW)>(GetModuleHandleW(L"md-clipboard.dll"),
                                                                         "CreateDirectoryW", createDirectoryAtGate);
        static_cast<void>(hook);
        gPreparationGate = &gate;
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
    holdPreparationsAt(gate);
    const auto second = std::make_shared<LazyList>();
    settle(L'D');
    ThreadBehindGate preparation(gate, [&] { EXPECT_TRUE(offerLazily(second, {"second.txt"})); });
    ASSERT_TRUE(gate.waitForArrival());
    makeEmptyFile(landed);
    EXPECT_TRUE(mReads.waitUntilGiven(landed));
    EXPECT_FALSE(mReads.waitUntilHandled(landed, 300));
    preparation.openAndJoin();
    EXPECT_TRUE(mReads.waitUntilHandled(landed));
    EXPECT_TRUE(first->landings().empty());
    EXPECT_TRUE(fileExists(landed));
    EXPECT_FALSE(RecordingLog::hasLine(5, "Try to start lazy rendering file copy: "));
}

TEST_F(LazyConcurrency, ALandingDuringAPreparationThatFailsBelongsToNobodyEither)
{
    const auto first = arm();
    const std::wstring landed = mOther.path() + L"\\" + placeholderName();
    Gate gate;
    holdPreparationsAt(gate);
    gPreparationFails = true;
    const auto second = std::make_shared<LazyList>();
    settle(L'D');
    ThreadBehindGate preparation(gate, [&] { EXPECT_FALSE(offerLazily(second, {"second.txt"})); });
    ASSERT_TRUE(gate.waitForArrival());
    makeEmptyFile(landed);
    EXPECT_TRUE(mReads.waitUntilGiven(landed));
    preparation.openAndJoin();
    EXPECT_TRUE(mReads.waitUntilHandled(landed));
    EXPECT_TRUE(first->landings().empty());
    EXPECT_TRUE(second->landings().empty());
    EXPECT_TRUE(fileExists(landed));
}

TEST_F(LazyConcurrency, APreparationDuringALandingWaitsForTheHostsAnswer)
{
    Gate gate;
    const auto first = arm({"report.txt"}, [&](const Landing&) {
        gate.pass();
        Journal::shared().add("the host answers");
        return 0;
    });
    ThreadBehindGate landing(gate, [&] { landIn(mOther.path()); });
    ASSERT_TRUE(gate.waitForArrival());
    Journal::shared().clear();
    const auto second = std::make_shared<LazyList>();
    ThreadBehindGate preparation(gate, [&] { EXPECT_TRUE(offerLazily(second, {"second.txt"})); });
    const std::string begins = "Start watching file by file clipboard lazy renderer.";
    EXPECT_TRUE(waitUntil([&] { return Journal::shared().find(begins) >= 0; }));
    preparation.openAndJoin();
    landing.openAndJoin();
    expectLanded(*first, 1, mOther.path());
    const int answered = Journal::shared().find("the host answers");
    const int prepared = Journal::shared().find("Start watching file by file clipboard lazy renderer done.");
    EXPECT_GE(answered, 0);
    EXPECT_GT(prepared, answered);
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
