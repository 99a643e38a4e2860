// The main function of every test program: GoogleTest, and a watchdog that names a test that hangs and leaves with a
// code of its own, so that a run never waits for a test that waits for ever.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>

#if defined(_WIN32)
#include "support/guarded_heap.h"
#endif
#include "support/journal.h"
#include "support/recording_log.h"
#include "support/test_roles.h"
#include "support/test_watchdog.h"

namespace {

constexpr int kExitHanging = 97;
constexpr auto kLongestTest = std::chrono::seconds(120);

std::atomic<long long> gTestBegan{0};

long long nowInMilliseconds()
{
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
}

// Each test begins with empty recordings.
class FreshRecordings : public testing::EmptyTestEventListener {
    void OnTestStart(const testing::TestInfo& /*info*/) override
    {
        RecordingLog::clear();
        Journal::shared().clear();
        noteTestProgress();
    }
};

void watch()
{
    const auto limit = std::chrono::duration_cast<std::chrono::milliseconds>(kLongestTest).count();
    for (;;) {
        std::this_thread::sleep_for(std::chrono::milliseconds(500));
        if (gTestBegan == 0 || nowInMilliseconds() - gTestBegan < limit)
            continue;
        const testing::TestInfo* test = testing::UnitTest::GetInstance()->current_test_info();
        std::printf("hangs: %s.%s\n", test ? test->test_suite_name() : "?", test ? test->name() : "?");
        for (const std::string& entry : Journal::shared().entries())
            std::printf("  %s\n", entry.c_str());
        std::fflush(stdout);
        std::_Exit(kExitHanging);
    }
}

}  // namespace

void noteTestProgress()
{
    gTestBegan = nowInMilliseconds();
}

int main(int argc, char** argv)
{
#if defined(_WIN32)
    guardHeapIfAsked();
#endif
    if (const auto code = runTestRole(argc, argv))
        return *code;
    testing::InitGoogleTest(&argc, argv);
    testing::UnitTest::GetInstance()->listeners().Append(new FreshRecordings);
    std::thread(watch).detach();
    return RUN_ALL_TESTS();
}
