// All public operations at random from eight threads, while copies, pastes, deliveries and landings go on and
// everything is replaced all the time. Nothing may crash or hang, and afterwards all works and nothing is left behind.
//
// MD_CLIPBOARD_STRESS_SECONDS: how long; rounds of ten seconds, of which one is the default.
// MD_CLIPBOARD_STRESS_SEED: that of an earlier run. The order between threads differs all the same.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <optional>

#include "example_support/joined_ole.h"
#include "stress_guest.h"
#include "stress_host.h"
#include "stress_log.h"
#include "stress_paster.h"

using namespace sd::clip;

namespace {

constexpr int kSecondsOfARound = 10;
constexpr int kWorkers = 8;
constexpr int kMostInits = 5;  // each makes a window, which stays

std::atomic<bool> gStop{false};
std::atomic<long long> gReports{0};

std::shared_ptr<ClipboardListener> makeListener();

// Calls back now and then. Not with the report that ends a transfer: on the delivering thread that would wait for the
// reader, who waits for the delivery.
class StressListener : public ClipboardListener {
public:
    void OnClipboardFormats(const std::vector<ClipboardFormat>& formats) override
    {
        if (!formats.empty())
            Clipboard::Get()->GetClipboardData(formats.front());
        callBack();
    }
    void OnClipboardEvent(std::string operation, std::string, std::string, std::int64_t, std::string, std::string,
                          std::string, std::string) override
    {
        mLastOperation = std::make_shared<const std::string>(std::move(operation));
        callBack();
    }

private:
    void callBack()
    {
        constexpr std::uint32_t kOnlyLogged = 2;
        const auto engine = Clipboard::Get();
        switch (++gReports % 32) {
            case 0:
                engine->SetListener(makeListener());
                break;
            case 8:
                engine->GetClipboardData(ClipboardFormat::File);
                break;
            case 16:
                engine->NotifyFileTransferFailed(kOnlyLogged);
                break;
            case 24:
                engine->SetFileClipboardSupported(true);
                break;
            default:
                break;
        }
    }

    // Freed with the listener: a call into one that is gone shows.
    std::shared_ptr<const std::string> mLastOperation;
};

std::shared_ptr<ClipboardListener> makeListener()
{
    return std::make_shared<StressListener>();
}

// One of the host's threads. Half of them have joined OLE.
class Worker {
public:
    Worker(std::uint64_t seed, bool joinsOle) : mRandom(seed), mJoinsOle(joinsOle) {}

    void run()
    {
        std::optional<JoinedOle> ole;
        if (mJoinsOle)
            ole.emplace();
        while (!gStop) {
            callSomething();
            ++mCalls;
            serveSentMessages();
        }
    }

    long long calls() const
    {
        return mCalls;
    }
    int surprises() const
    {
        return mSurprises;
    }

private:
    // A thread that joined OLE has to: who empties the clipboard sends to the window of its owner, and waits.
    static void serveSentMessages()
    {
        MSG message;
        PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE | PM_QS_SENDMESSAGE);
    }

    void callSomething()
    {
        switch (mRandom.below(30)) {
            case 0:
                return callStart();
            case 1:
                mEngine->SetListener(mRandom.oneIn(4) ? nullptr : makeListener());
                return;
            case 2:
                return mEngine->SetFileClipboardSupported(!mRandom.oneIn(8));
            case 3:
                mEngine->InitFileLazyRenderer(mHost.cacheDirectory(mRandom.below(2)));
                return;
            case 4:
                return mEngine->SetSupportFileClipboardFullPostProcessMode(mRandom.oneIn(2));
            case 5:
                return openAndClose();
            case 6:
            case 7:
                expect(mEngine->GetAvailableFormats().empty());
                expect(!mEngine->IsFormatAvailable(anyFormat()));
                return;
            case 8:
            case 9:
                return mEngine->NotifyFileTransferFailed(static_cast<std::uint32_t>(mRandom.below(3)));
            case 10:
            case 11:
                return reportLanding();
            case 12:
            case 13:
            case 14:
                mEngine->SetClipboardData(anyRoute(), StressGuest::shared().makeAnyRecord(mRandom));
                return;
            case 15:
            case 16:
                mEngine->GetClipboardData(anyFormat());
                return;
            default:
                Sleep(static_cast<DWORD>(mRandom.below(8)));
        }
    }

    void callStart()
    {
        expect(Clipboard::Get() == mEngine);
        if (mRandom.oneIn(200) && sInits++ < kMostInits)
            mHost.init();
        if (mRandom.oneIn(200))
            expect(!mEngine->UnInit());
    }

    void openAndClose()
    {
        mEngine->Open();
        expect(mEngine->Close());
    }

    void reportLanding()
    {
        try {
            mEngine->NotifyFileLazyRenderingComplete(static_cast<std::int32_t>(mRandom.below(2)));
        } catch (const std::future_error&) {
            ++mSecondReports;  // there was one for that list already
        }
    }

    // Assertions are for the test's own thread.
    void expect(bool condition)
    {
        mSurprises += condition ? 0 : 1;
    }

    ClipboardFormat anyFormat()
    {
        static constexpr int kFormats[] = {1, 2, 6, 6, 6, 8, 9, 0, -1, 77, 0x7FFFFFFF};
        return static_cast<ClipboardFormat>(mRandom.pick(kFormats));
    }
    ClipboardFormat anyRoute()
    {
        if (mRandom.oneIn(8))
            return anyFormat();
        return mRandom.oneIn(3) ? ClipboardFormat::FileLazy : ClipboardFormat::File;
    }

    static inline std::atomic<int> sInits{0};

    StressHost& mHost = StressHost::shared();
    const std::shared_ptr<Clipboard> mEngine = Clipboard::Get();
    SeededRandom mRandom;
    const bool mJoinsOle;
    long long mCalls = 0;
    long long mSecondReports = 0;
    int mSurprises = 0;
};

void copySomething(StressHost& host, SeededRandom& random)
{
    switch (random.below(4)) {
        case 0:
            host.copyText();
            break;
        case 1:
            host.emptyClipboard();
            break;
        default:
            host.copyFiles({host.folder().path() + L"\\copied\\file.txt", host.folder().path() + L"\\copied\\tree"});
    }
    Sleep(static_cast<DWORD>(random.below(200)));
}

// The other programs of the desktop: one that copies, one that pastes, a file manager in which placeholders land.
class OtherPrograms {
public:
    explicit OtherPrograms(std::uint64_t seed)
        : mCopying([this, seed] {
              SeededRandom random(seed);
              while (!gStop)
                  copySomething(mHost, random);
          }),
          mPasting([this, seed] { paste(seed); }),
          mLanding([this] {
              while (!gStop) {
                  placeholders += mHost.landPlaceholders();
                  Sleep(10);
              }
          })
    {
    }
    OtherPrograms(const OtherPrograms&) = delete;
    OtherPrograms& operator=(const OtherPrograms&) = delete;

    // Once they are to stop.
    void join()
    {
        mCopying.join();
        mPasting.join();
        mLanding.join();
    }

    // What they did; to be read afterwards.
    int placeholders = 0;
    int streams = 0;
    std::uint64_t bytes = 0;

private:
    void paste(std::uint64_t seed)
    {
        const JoinedOle ole;
        StressPaster paster(seed + 1, &StressHost::moveClock);
        while (!gStop)
            paster.pasteSomehow();
        paster.letGo();
        streams = paster.streams();
        bytes = paster.bytes();
    }

    StressHost& mHost = StressHost::shared();
    std::thread mCopying;
    std::thread mPasting;
    std::thread mLanding;
};

void stress(std::uint64_t seed)
{
    gStop = false;
    StressHost::hurry(true);
    const StressGuest& guest = StressGuest::shared();
    const int requestsBefore = guest.requests();
    const int landingsBefore = guest.landings();
    const long long reportsBefore = gReports;
    std::vector<std::unique_ptr<Worker>> workers;
    std::vector<std::thread> threads;
    OtherPrograms others(seed);
    for (int i = 0; i < kWorkers; ++i) {
        workers.push_back(std::make_unique<Worker>(seed + 10 + static_cast<std::uint64_t>(i), i % 2 == 0));
        threads.emplace_back([&worker = *workers.back()] { worker.run(); });
    }
    std::this_thread::sleep_for(std::chrono::seconds(kSecondsOfARound));
    gStop = true;
    for (std::thread& thread : threads)
        thread.join();
    others.join();
    long long calls = 0;
    for (const auto& worker : workers) {
        calls += worker->calls();
        EXPECT_EQ(worker->surprises(), 0);
    }
    std::printf("%lld calls, %lld reports, %d requests, %d streams, %llu bytes pasted, %d of %d placeholders landed\n",
                calls, gReports - reportsBefore, guest.requests() - requestsBefore, others.streams,
                static_cast<unsigned long long>(others.bytes), guest.landings() - landingsBefore, others.placeholders);
    std::fflush(stdout);
    EXPECT_GT(calls, 0);
}

int countRounds()
{
    const auto seconds = static_cast<int>(readNumber("MD_CLIPBOARD_STRESS_SECONDS", kSecondsOfARound));
    return seconds <= kSecondsOfARound ? 1 : (seconds + kSecondsOfARound - 1) / kSecondsOfARound;
}

void print(const char* when, const Holdings& holdings)
{
    std::printf("%s: %zu handles, %zu threads, %td blocks of memory, %d data objects and %d kept ones\n", when,
                holdings.handles, holdings.threads, holdings.blocks, holdings.dataObjects, holdings.kept);
    std::fflush(stdout);
}

// Near where they were: OLE and the runtime keep a few things for the next time.
void expectNoMore(const Holdings& before, const Holdings& after)
{
    constexpr std::size_t kHandles = 100;  // Wine's OLE keeps an event for many a paste that is refused
    constexpr std::size_t kThreads = 4;
    constexpr std::ptrdiff_t kBlocks = 200;
    constexpr std::ptrdiff_t kBlocksOfAnObject = 40;  // with its list
    const auto kept = static_cast<std::ptrdiff_t>(after.kept - before.kept);
    EXPECT_EQ(after.dataObjects, 0);
    EXPECT_LE(after.handles, before.handles + kHandles);
    EXPECT_LE(after.threads, before.threads + kThreads);
    EXPECT_LE(after.blocks, before.blocks + kBlocks + kept * kBlocksOfAnObject);
}

class PublicOperations : public testing::TestWithParam<int> {
protected:
    static void TearDownTestSuite()
    {
        StressHost::shared().removeFiles();
    }
    void TearDown() override
    {
        if (!HasFailure())
            return;
        for (const std::string& line : StressLog::lastLines())
            std::printf("  %s\n", line.c_str());
        std::fflush(stdout);
    }

    StressHost& mHost = StressHost::shared();
};

}  // namespace

TEST_P(PublicOperations, AtRandomFromEightThreadsLeaveAllWorkingAndNothingBehind)
{
    const std::uint64_t seed = chooseSeed() + static_cast<std::uint64_t>(GetParam()) * 1000;
    mHost.expectAllWorks();
    const Holdings before = StressHost::settle();
    print("before", before);
    stress(seed);
    mHost.expectAllWorks();
    const Holdings after = StressHost::settle();
    print("after", after);
    expectNoMore(before, after);
}

INSTANTIATE_TEST_SUITE_P(Rounds, PublicOperations, testing::Range(0, countRounds()));
