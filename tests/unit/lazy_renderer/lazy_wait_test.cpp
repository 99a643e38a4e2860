// The wait for the host's report at its true length: a line every fifteen seconds, without an end. Both waits run at
// once before the first test; each test looks at one of them.
#include <gtest/gtest.h>
#include <windows.h>

#include <chrono>
#include <thread>

#include "renderer_access.h"
#include "support/recording_log.h"

using namespace sd::clip;

namespace {

using Clock = std::chrono::steady_clock;
using Messages = std::vector<std::string>;

double secondsSince(Clock::time_point begin)
{
    return std::chrono::duration<double>(Clock::now() - begin).count();
}

// One armed renderer that is waited for, as after a landing in the folder.
struct Waiting {
    explicit Waiting(const std::string& folder) : renderer(*new FileClipboardLazyRenderer)
    {
        ClipfileDescription file;
        file.root = folder;
        const auto target = ClipboardFileData::Create();
        target->SetFiles({file});
        const auto record = makeGuestRecord({"a.txt"});
        record->SetTargetClipboardData(target);
        TestAccess::arm(renderer, record, "12345678");
        TestAccess::givePromise(renderer);
        line = "Lazy rendering file copy not complete since laste check for " + folder;
    }

    void start()
    {
        begin = Clock::now();
        thread = std::thread([this] {
            result = TestAccess::waitComplete(renderer);
            seconds = secondsSince(begin);
        });
    }

    FileClipboardLazyRenderer& renderer;
    std::string line;  // of each round
    Clock::time_point begin;
    std::thread thread;
    bool result = false;
    double seconds = 0;
};

struct Waits : testing::Environment {
    static Waits& shared()
    {
        static auto& waits = *new Waits;
        return waits;
    }

    void SetUp() override
    {
        oneRound.start();
        twoRounds.start();
        RecordingLog::waitForLine(5, oneRound.line, 60000);
        firstLineAfter = secondsSince(oneRound.begin);
        oneRound.renderer.NotifyFileLazyRenderingComplete(0);
        oneRound.thread.join();
        while (RecordingLog::count(5, twoRounds.line) < 2 && secondsSince(twoRounds.begin) < 90)
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        secondLineAfter = secondsSince(twoRounds.begin);
        twoRounds.renderer.NotifyFileLazyRenderingComplete(4);
        twoRounds.thread.join();
        messages = RecordingLog::messages();
    }

    Waiting oneRound{"D:\\one"};
    Waiting twoRounds{"D:\\two"};
    double firstLineAfter = 0;
    double secondLineAfter = 0;
    Messages messages;
};

const testing::Environment* const kRegistered = testing::AddGlobalTestEnvironment(&Waits::shared());

Messages messagesAbout(const std::string& folder)
{
    Messages about;
    for (const std::string& message : Waits::shared().messages) {
        if (message.find(folder) != std::string::npos)
            about.push_back(message);
    }
    return about;
}

}  // namespace

TEST(LazyWait, AfterFifteenSecondsItSaysThatTheCopyIsNotComplete)
{
    ASSERT_NE(kRegistered, nullptr);
    const Waits& waits = Waits::shared();
    EXPECT_GE(waits.firstLineAfter, 14.9);
    EXPECT_EQ(messagesAbout("D:\\one"),
              (Messages{waits.oneRound.line, "Lazy rendering file copy done(0) for D:\\one"}));
    EXPECT_TRUE(waits.oneRound.result);
    EXPECT_EQ(TestAccess::armedData(waits.oneRound.renderer), nullptr);
}

TEST(LazyWait, AfterAsMuchAgainItSaysSoAgainAndWaitsOn)
{
    const Waits& waits = Waits::shared();
    EXPECT_GE(waits.secondLineAfter, 29.8);
    EXPECT_EQ(messagesAbout("D:\\two"),
              (Messages{waits.twoRounds.line, waits.twoRounds.line, "Lazy rendering file copy done(4) for D:\\two"}));
    EXPECT_FALSE(waits.twoRounds.result);
    EXPECT_EQ(TestAccess::armedData(waits.twoRounds.renderer), nullptr);
}
