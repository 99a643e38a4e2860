// A sweep of one route: counts the calls of each import, then goes the route again and again with one of them failing.
#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "fault_injector.h"
#include "sweep_route.h"

enum class SweptCalls { kFirstAndLast, kAll };

struct SweepResult {
    int tried = 0;
    int survived = 0;
    int unreached = 0;                  // of imports whose calls vary: the call did not come this time
    int silent = 0;                     // survivors without a line, as it should be
    std::vector<std::string> problems;  // what did not survive, and why

    // One line of figures.
    std::string text() const;
};

// The calls run in child processes, which play the roles "count" and "run" of this program.
class FaultSweep {
public:
    // The fewest and the most calls of the imports in a run without a fault.
    using Calls = std::map<std::string, std::pair<int, int>>;

    FaultSweep(const SweepRoute& route, SweptCalls which) : mRoute(route), mWhich(which) {}

    SweepResult run();

    // The faults for those calls, in the table's order. Problems are calls that vary without a reason in the table.
    static std::vector<Fault> plan(const Calls& calls, SweptCalls which);

    // After run.
    const Calls& calls() const
    {
        return mCalls;
    }

private:
    void count();
    void countInChild();
    void takeCount(const std::string& output);
    void leaveToOtherRoutes();
    void sweep();
    std::size_t endOfGroup(std::size_t begin) const;
    std::size_t sweepFrom(std::size_t begin);
    void note(const std::string& line);
    void noteSurvival(const std::string& how);
    bool triesAgain();
    void fail(const std::string& problem);

    const SweepRoute& mRoute;
    const SweptCalls mWhich;
    Calls mCalls;
    std::vector<std::size_t> mHeld;  // the most of each kind after the way of the first calls
    std::string mPlanPath;
    std::vector<Fault> mPlan;
    std::size_t mNext = 0;               // behind the last fault that a child process is done with
    bool mEndedItself = false;           // the child process, after a problem
    std::vector<std::string> mProblems;  // of the fault that is being tried
    int mAttempts = 0;                   // with that fault, that went wrong so far
    SweepResult mResult;
};
