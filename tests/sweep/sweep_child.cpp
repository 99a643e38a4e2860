#include "sweep_child.h"

#include <windows.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <sstream>
#include <thread>

#include "fault_injector.h"
#include "held_things.h"
#include "sweep_host.h"
#include "sweep_log.h"
#include "sweep_plan.h"
#include "swept_imports.h"

namespace {

constexpr int kCountedRuns = 3;
constexpr int kExitHanging = 97;
constexpr ULONGLONG kLongestRun = 30000;  // milliseconds; the library's longest waits are shortened

// A line at once: the process may be about to end.
template <class... Parts>
void print(const Parts&... parts)
{
    std::ostringstream line;
    (line << ... << parts);
    std::printf("%s\n", line.str().c_str());
    std::fflush(stdout);
}

void printLog(const std::vector<std::string>& lines)
{
    for (const std::string& line : lines)
        print("  log ", line);
}

HeldThings parseHeld(const std::string& text)
{
    HeldThings held;
    std::istringstream(text) >> held.handles >> held.threads >> held.windows >> held.blocks >> held.objects;
    return held;
}

std::string formatHeld(const HeldThings& held)
{
    std::ostringstream text;
    text << held.handles << ' ' << held.threads << ' ' << held.windows << ' ' << held.blocks << ' ' << held.objects;
    return text.str();
}

std::atomic<ULONGLONG> gTryBegan{0};

// Shows what was logged in a try that hangs, and ends the process.
void watchForHang()
{
    constexpr ULONGLONG kLongest = 80000;  // milliseconds; the waits that the library may make are shortened
    for (;;) {
        Sleep(500);
        const ULONGLONG began = gTryBegan;
        if (began == 0 || GetTickCount64() - began < kLongest)
            continue;
        printLog(SweepLog::lines());
        std::_Exit(kExitHanging);
    }
}

bool awaitWithin(const HeldThings& limit, HeldThings& held)
{
    constexpr int kPauses = 40;
    constexpr DWORD kPause = 100;  // milliseconds
    for (int i = 0; i < kPauses; ++i) {
        held = HeldThings::now();
        if (held.isWithin(limit))
            return true;
        Sleep(kPause);
    }
    return false;
}

// The routes and the recovery, so often that nothing is made for the first time any more.
void warmUp(const SweepRoute& route, SweepHost& host)
{
    host.start();
    host.waitForWatchers();
    for (int i = 0; i < 2; ++i) {
        route.run(host);
        host.tryEverything();
    }
}

// After the way of the first calls, what could not be started is started first.
std::vector<std::string> tryEverything(const SweepRoute& route, SweepHost& host)
{
    if (!route.isStart)
        return host.tryEverything();
    host.start();
    return host.tryEverything();
}

bool hasLineOf(const SweptImport& import)
{
    return std::any_of(import.lines().begin(), import.lines().end(),
                       [](const char* line) { return SweepLog::has(line); });
}

// @return what became of the fault as far as the log goes; "problem" first if it is one
std::string judge(const Fault& fault, const FaultInjector::Outcome& outcome)
{
    const SweptImport& import = *SweptImports::find(fault.import);
    if (!outcome.hit)
        return import.variance() != nullptr ? "unreached" : "problem: the call did not come";
    if (outcome.silent)
        return "silent";
    return hasLineOf(import) ? "line" : "problem: no line in the log";
}

// One run with a fault, and what works after it.
// @return what became of the fault as far as the log goes
std::string tryFault(const SweepRoute& route, SweepHost& host, const Fault& fault, std::vector<std::string>& problems)
{
    const ULONGLONG began = GetTickCount64();
    gTryBegan = began;
    SweepLog::clear();
    FaultInjector::begin(fault);
    const std::string wrong = route.run(host);
    const ULONGLONG taken = GetTickCount64() - began;
    std::string judgement = judge(fault, FaultInjector::end());
    if (!wrong.empty())
        problems.push_back(wrong);
    if (taken > kLongestRun)
        problems.push_back("it takes " + std::to_string(taken) + " ms");
    if (judgement.rfind("problem", 0) == 0)
        problems.push_back(judgement);
    if (!problems.empty())
        printLog(SweepLog::lines());
    for (std::string& problem : tryEverything(route, host))
        problems.push_back(std::move(problem));
    return judgement;
}

}  // namespace

int SweepChild::count() const
{
    std::thread(&watchForHang).detach();
    SweepHost& host = SweepHost::shared();
    if (!mRoute.isStart)
        warmUp(mRoute, host);
    std::map<std::string, std::pair<int, int>> calls;
    for (int i = 0; i < (mRoute.isStart ? 1 : kCountedRuns); ++i) {
        FaultInjector::beginCount();
        mRoute.run(host);
        FaultInjector::end();
        for (const auto& import : SweptImports::all()) {
            auto& range = calls.emplace(import->name(), std::pair(import->calls(), import->calls())).first->second;
            range.first = std::min(range.first, import->calls());
            range.second = std::max(range.second, import->calls());
        }
        for (const std::string& problem : tryEverything(mRoute, host))
            print("problem ", problem);
        host.tryEverything();
    }
    for (const auto& [name, range] : calls)
        print("calls ", name, " ", range.first, " ", range.second);
    print("held ", formatHeld(HeldThings::settled()));
    return 0;
}

int SweepChild::run(const std::vector<std::string>& arguments) const
{
    const std::vector<Fault> plan = SweepPlan::read(arguments.at(0));
    const std::size_t end = std::stoul(arguments.at(2));
    std::thread(&watchForHang).detach();
    SweepHost& host = SweepHost::shared();
    if (!mRoute.isStart)
        warmUp(mRoute, host);
    const HeldThings limit = mRoute.isStart ? parseHeld(arguments.at(3)) : HeldThings::settled();
    for (std::size_t i = std::stoul(arguments.at(1)); i < end; ++i) {
        print("try ", i);
        std::vector<std::string> problems;
        const std::string judgement = tryFault(mRoute, host, plan.at(i), problems);
        HeldThings held;
        if (!HeldThings::now().isWithin(limit))
            host.tryEverything();  // what is made for the first time in a process is made, and what dies late is dead
        if (!awaitWithin(limit, held))
            problems.push_back("held before: " + limit.text() + "; now: " + held.text());
        if (!problems.empty()) {
            for (const std::string& problem : problems)
                print("problem ", i, " ", problem);
            print("ended ", i);
            return 1;
        }
        print("survived ", i, " ", judgement);
    }
    return 0;
}
