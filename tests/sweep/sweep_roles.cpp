#include "sweep_roles.h"

#include <gtest/gtest.h>

#include <cstdio>

namespace {

// @return whether all survived
bool sweep(const SweepRoute& route, SweptCalls which)
{
    const SweepResult result = FaultSweep(route, which).run();
    std::printf("%s: %s\n", route.name, result.text().c_str());
    std::printf("figures %d %d %d\n", result.tried, result.survived, result.unreached);
    std::fflush(stdout);
    return result.problems.empty();
}

}  // namespace

SweepRoles::SweepRoles(const SweepRoute& route)
    : mCount("count", [&route](const std::vector<std::string>&) { return SweepChild(route).count(); }),
      mRun("run", [&route](const std::vector<std::string>& arguments) { return SweepChild(route).run(arguments); }),
      mAll("sweep", [&route](const std::vector<std::string>&) { return sweep(route, SweptCalls::kAll) ? 0 : 1; })
{
}

void expectSweepSurvives(const SweepRoute& route)
{
    EXPECT_TRUE(sweep(route, SweptCalls::kFirstAndLast));
}
