// A host with the real library and its guest, and real programs that paste, copy, stop and are killed, at random for as
// long as asked for. Nothing may crash, hang, leak, or come out other than it must, and every pasted file is compared
// with its source.
#include <windows.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>

#include "example_support/utf8_arguments.h"
#include "soak_actions.h"
#include "support/guarded_heap.h"
#include "support/journal.h"
#include "support/test_roles.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kExitFailure = 1;
constexpr int kExitCrash = 96;
constexpr int kExitHanging = 97;
constexpr auto kLongestRound = std::chrono::minutes(4);
constexpr double kMinutesOfALongRun = 2;

struct Options {
    double minutes = 0.5;
    std::uint64_t seed = std::random_device()();
    std::string only;
};

std::atomic<const char*> gAction{"nothing"};
std::atomic<int> gRound{0};
std::atomic<Clock::time_point> gRoundBegan{Clock::now()};

void printLogged()
{
    constexpr std::size_t kShown = 60;
    std::vector<std::string> entries;
    try {
        entries = Journal::shared().entries();
    } catch (const std::bad_alloc&) {
        return;
    }
    std::printf("the last of %zu log lines:\n", entries.size());
    for (std::size_t i = entries.size() - std::min(kShown, entries.size()); i < entries.size(); ++i)
        std::printf("  %s\n", entries[i].c_str());
}

// Says where, and ends the process at once: its threads may be in any state.
[[noreturn]] void giveUp(int exitCode, const char* what)
{
    std::printf("round %d, %s: %s\n", gRound.load(), gAction.load(), what);
    std::fflush(stdout);
    if (exitCode != kExitCrash)  // which may have been in the journal
        printLogged();
    std::fflush(stdout);
    std::_Exit(exitCode);
}

LONG WINAPI tellCrash(EXCEPTION_POINTERS* exception)
{
    char text[64];
    std::snprintf(text, sizeof text, "crashed with 0x%08lX at %p", exception->ExceptionRecord->ExceptionCode,
                  exception->ExceptionRecord->ExceptionAddress);
    giveUp(kExitCrash, text);
}

void watch()
{
    for (;;) {
        std::this_thread::sleep_for(std::chrono::seconds(1));
        if (Clock::now() - gRoundBegan.load() > kLongestRound)
            giveUp(kExitHanging, ("hangs; awaited: " + SoakStage::awaited()).c_str());
    }
}

// Every action once in an order of chance, then every one again in another. The long ones, which would take half of the
// time, come in each third turn of a long run.
class Deck {
public:
    Deck(SeededRandom& random, const Options& options)
        : mRandom(random), mOnly(options.only), mIsLongRun(options.minutes >= kMinutesOfALongRun)
    {
    }

    const SoakAction& draw()
    {
        if (mLeft.empty())
            fill();
        const SoakAction& drawn = *mLeft.back();
        mLeft.pop_back();
        return drawn;
    }

private:
    void fill()
    {
        constexpr int kTurns = 3;
        const bool takesLong = mIsLongRun && mTurn++ % kTurns == 0;
        for (const SoakAction& action : soakActions()) {
            if (mOnly.empty() ? takesLong || !action.isLong : mOnly == action.name)
                mLeft.push_back(&action);
        }
        if (mLeft.empty())
            throw SoakFailure("there is no action named " + mOnly);
        for (std::size_t left = mLeft.size(); left > 1; --left)
            std::swap(mLeft[left - 1], mLeft[mRandom.below(left)]);
    }

    SeededRandom& mRandom;
    const std::string mOnly;
    const bool mIsLongRun;
    int mTurn = 0;
    std::vector<const SoakAction*> mLeft;
};

// ---- What it all comes to ----

class Summary {
public:
    void add(const SoakAction& action, const Holdings& holdings, double seconds)
    {
        ++mActions[action.name];
        mFaults += action.isFault ? 1 : 0;
        mWatch.add(holdings);
        std::printf("round %d: %s; %lld handles, %lld threads, %lld blocks, %lld KiB; %.1f s\n", gRound.load(),
                    action.name, static_cast<long long>(holdings.handles), static_cast<long long>(holdings.threads),
                    static_cast<long long>(holdings.blocks), static_cast<long long>(holdings.kilobytes), seconds);
        std::fflush(stdout);
    }

    // @return how many leaks there are
    int print(const SoakFigures& figures, double seconds) const
    {
        std::printf("\n");
        for (const auto& [name, count] : mActions)
            std::printf("%4d  %s\n", count, name.c_str());
        int leaks = 0;
        const auto growths = mWatch.compare(kAllowedGrowth);
        if (growths.empty())
            std::printf("too few rounds to tell growth\n");
        for (const Growth& growth : growths) {
            leaks += growth.isLeak() ? 1 : 0;
            std::printf("%s: %lld in the second quarter, %lld in the last, %lld more allowed%s\n", growth.what.c_str(),
                        static_cast<long long>(growth.before), static_cast<long long>(growth.after),
                        static_cast<long long>(growth.allowed), growth.isLeak() ? ": a leak" : "");
        }
        std::printf(
            "%d rounds, %llu files and %llu bytes compared, %d faults provoked, %d landings made again, "
            "%d leaks, %.0f seconds\n",
            gRound.load(), static_cast<unsigned long long>(figures.files),
            static_cast<unsigned long long>(figures.bytes), mFaults, figures.landingsAgain, leaks, seconds);
        return leaks;
    }

private:
    // What comes once and late: a kind of action drawn for the first time, a thread that has just begun, caches of the
    // runtime; private memory goes up and down by that much with the size of the last list.
    static constexpr Holdings kAllowedGrowth = {10, 4, 60, 8192};

    std::map<std::string, int> mActions;
    int mFaults = 0;
    LeakWatch mWatch;
};

double secondsSince(Clock::time_point begin)
{
    return std::chrono::duration<double>(Clock::now() - begin).count();
}

void runRound(SoakStage& stage, const SoakAction& action)
{
    ++gRound;
    gRoundBegan = Clock::now();
    gAction = action.name;
    stage.host().forget();
    action.run(stage);
    gAction = "the paste afterwards";
    pasteWhole(stage);
    gAction = "the rest afterwards";
    stage.rest();
    gAction = action.name;
}

int soak(const Options& options)
{
    std::printf("--minutes %g --seed %llu\n", options.minutes, static_cast<unsigned long long>(options.seed));
    std::fflush(stdout);
    SoakStage stage(options.seed);
    Deck deck(stage.random(), options);
    Summary summary;
    const auto begin = Clock::now();
    while (secondsSince(begin) < options.minutes * 60) {
        const auto roundBegan = Clock::now();
        const SoakAction& action = deck.draw();
        runRound(stage, action);
        const double seconds = secondsSince(roundBegan);
        summary.add(action, stage.host().hold(), seconds);
    }
    const int leaks = summary.print(stage.figures(), secondsSince(begin));
    return leaks == 0 ? 0 : kExitFailure;
}

// @return false if there is nothing more to do, because the command line asks for help or is wrong
bool readOptions(Options& options, int& exitCode)
{
    CLI::App app("Plays host, guest and other programs at random, and checks all that comes of it", "soak");
    app.add_option("--minutes", options.minutes, "How long; parts of minutes are taken too")->capture_default_str();
    app.add_option("--seed", options.seed, "That of an earlier run, for the same actions in the same order");
    app.add_option("--only", options.only, "Only this action, again and again");
    try {
        const auto arguments = readUtf8Arguments();
        app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));  // takes the last one first
        return true;
    } catch (const CLI::ParseError& error) {
        exitCode = app.exit(error);
        return false;
    }
}

}  // namespace

int main(int argc, char** argv)
{
    guardHeapIfAsked();
    try {
        if (const auto code = runTestRole(argc, argv))
            return *code;
        Options options;
        int exitCode = 0;
        if (!readOptions(options, exitCode))
            return exitCode;
        SetUnhandledExceptionFilter(tellCrash);
        std::thread(watch).detach();
        return soak(options);
    } catch (const std::exception& failure) {
        giveUp(kExitFailure, failure.what());
    }
}
