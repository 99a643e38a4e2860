#include "fault_sweep.h"

#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <sstream>

#include "support/child_process.h"
#include "support/test_watchdog.h"
#include "sweep_plan.h"
#include "swept_imports.h"

namespace {

// Milliseconds, behind the child's own; less than the watchdog gives a test, which begins anew with each line.
constexpr int kLongestFault = 100000;
constexpr int kLongestCount = 100000;

std::string describe(const Fault& fault)
{
    return fault.import + " " + std::to_string(fault.call) + " (" + fault.way + ")";
}

std::wstring widen(const std::string& ascii)
{
    return std::wstring(ascii.begin(), ascii.end());
}

// Complete lines behind the given position, which is moved behind them.
std::vector<std::string> takeLines(const std::string& output, std::size_t& position)
{
    std::vector<std::string> lines;
    for (std::size_t end = output.find('\n', position); end != std::string::npos; end = output.find('\n', position)) {
        std::string line = output.substr(position, end - position);
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        lines.push_back(std::move(line));
        position = end + 1;
    }
    return lines;
}

}  // namespace

std::string SweepResult::text() const
{
    std::ostringstream text;
    text << tried << " faults tried, " << survived << " survived (" << silent << " of them without a line, as told), "
         << unreached << " not reached where calls vary, " << problems.size() << " problems";
    return text.str();
}

SweepResult FaultSweep::run()
{
    count();
    mPlan = plan(mCalls, mWhich);
    if (mRoute.isStart && mWhich == SweptCalls::kFirstAndLast)
        leaveToOtherRoutes();
    mPlanPath = "C:\\sweep-plan-" + std::to_string(GetCurrentProcessId()) + ".txt";
    SweepPlan::write(mPlanPath, mPlan);
    sweep();
    DeleteFileA(mPlanPath.c_str());
    return mResult;
}

// The first calls come once in a process, so several processes are asked for them.
void FaultSweep::count()
{
    constexpr int kProcesses = 3;
    for (int i = 0; i < (mRoute.isStart ? kProcesses : 1); ++i)
        countInChild();
    for (const auto& [name, range] : mCalls) {
        const SweptImport* const import = SweptImports::find(name);
        if (range.first != range.second && import->variance() == nullptr)
            fail("the calls of " + name + " vary from " + std::to_string(range.first) + " to " +
                 std::to_string(range.second));
    }
}

void FaultSweep::countInChild()
{
    noteTestProgress();
    ChildProcess child = ChildProcess::inRole(L"count");
    if (child.waitForExit(kLongestCount) != 0)
        fail("counting ends badly: " + child.output());
    takeCount(child.output());
}

void FaultSweep::takeCount(const std::string& output)
{
    std::istringstream lines(output);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::string word;
        std::string name;
        int fewest = 0;
        int most = 0;
        words >> word;
        if (word == "calls" && words >> name >> fewest >> most) {
            auto& range = mCalls.emplace(name, std::pair(fewest, most)).first->second;
            range = {std::min(range.first, fewest), std::max(range.second, most)};
        } else if (word == "held") {
            std::size_t number = 0;
            for (std::size_t kind = 0; words >> number; ++kind) {
                mHeld.resize(std::max(mHeld.size(), kind + 1));
                mHeld[kind] = std::max(mHeld[kind], number);
            }
        } else {
            fail("without a fault: " + line);
        }
    }
}

std::vector<Fault> FaultSweep::plan(const Calls& calls, SweptCalls which)
{
    std::vector<Fault> faults;
    for (const auto& import : SweptImports::all()) {
        const auto found = calls.find(import->name());
        const int last = found != calls.end() ? found->second.second : 0;
        for (int call = 1; call <= last; ++call) {
            if (which == SweptCalls::kFirstAndLast && call != 1 && call != last)
                continue;
            for (const FailureWay& way : import->ways())
                faults.push_back({import->name(), call, way.name});
        }
    }
    return faults;
}

// A process for each fault takes its time. Calls that vary are those of copies and landings, which have routes of their
// own.
void FaultSweep::leaveToOtherRoutes()
{
    const auto isLeft = [](const Fault& fault) {
        const SweptImport& import = *SweptImports::find(fault.import);
        return import.variance() != nullptr && !import.needsOwnProcess();
    };
    mPlan.erase(std::remove_if(mPlan.begin(), mPlan.end(), isLeft), mPlan.end());
}

void FaultSweep::sweep()
{
    for (std::size_t next = 0; next < mPlan.size();)
        next = sweepFrom(next);
}

// The fault behind the last one that a child process takes together with the given one.
std::size_t FaultSweep::endOfGroup(std::size_t begin) const
{
    const auto isAlone = [this](const Fault& fault) {
        return mRoute.isStart || SweptImports::find(fault.import)->needsOwnProcess();
    };
    std::size_t end = begin + 1;
    while (!isAlone(mPlan[begin]) && end < mPlan.size() && !isAlone(mPlan[end]))
        ++end;
    return end;
}

// One child process. @return the first fault that is left
std::size_t FaultSweep::sweepFrom(std::size_t begin)
{
    const std::size_t end = endOfGroup(begin);
    std::wstring held;
    for (const std::size_t number : mHeld)
        held += std::to_wstring(number) + L" ";
    ChildProcess child =
        ChildProcess::inRole(L"run", {widen(mPlanPath), std::to_wstring(begin), std::to_wstring(end), held});
    noteTestProgress();
    mNext = begin;
    std::size_t position = 0;
    ULONGLONG lastProgress = GetTickCount64();
    for (bool running = true; running;) {
        running = child.running();
        for (const std::string& line : takeLines(child.output(), position)) {
            lastProgress = GetTickCount64();
            noteTestProgress();
            note(line);
        }
        if (running && GetTickCount64() - lastProgress > kLongestFault) {
            ++mResult.tried;
            fail(describe(mPlan[mNext]) + ": hangs");
            return mNext + 1;
        }
        Sleep(10);
    }
    if (mNext == end || mEndedItself)
        return mNext;
    ++mResult.tried;
    std::ostringstream code;
    code << std::hex << child.waitForExit();
    fail(describe(mPlan[mNext]) + ": ends the process, exit code 0x" + code.str());
    return mNext + 1;
}

void FaultSweep::note(const std::string& line)
{
    std::istringstream words(line);
    std::string word;
    std::size_t number = 0;
    std::string rest;
    words >> word >> number;
    std::getline(words >> std::ws, rest);
    if (word == "try") {
        mEndedItself = false;
        mProblems.clear();
    } else if (word == "survived") {
        noteSurvival(rest);
        mNext = number + 1;
    } else if (word == "problem") {
        mProblems.push_back(rest);
    } else if (word == "ended") {
        mEndedItself = true;
        mNext = triesAgain() ? number : number + 1;
    } else {
        std::printf("%s\n", line.c_str());
        std::fflush(stdout);
    }
}

void FaultSweep::noteSurvival(const std::string& how)
{
    ++mResult.tried;
    mResult.survived += how != "unreached" ? 1 : 0;
    mResult.unreached += how == "unreached" ? 1 : 0;
    mResult.silent += how == "silent" ? 1 : 0;
    mAttempts = 0;
}

// The platform's own locks make an event when two threads want one of them at once, which is chance: what a fault
// leaves behind is there each time.
bool FaultSweep::triesAgain()
{
    constexpr int kAttempts = 3;
    const bool isOnlyHeld = std::all_of(mProblems.begin(), mProblems.end(),
                                        [](const std::string& problem) { return problem.rfind("held ", 0) == 0; });
    if (isOnlyHeld && ++mAttempts < kAttempts) {
        if (mRoute.isStart)
            countInChild();  // perhaps a process without a fault holds as much
        return true;
    }
    mAttempts = 0;
    ++mResult.tried;
    for (const std::string& problem : mProblems)
        fail(describe(mPlan.at(mNext)) + ": " + problem);
    return false;
}

void FaultSweep::fail(const std::string& problem)
{
    std::printf("%s: %s\n", mRoute.name, problem.c_str());
    std::fflush(stdout);
    mResult.problems.push_back(problem);
}
