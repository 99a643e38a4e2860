#include <gtest/gtest.h>

#include "sweep_roles.h"

namespace {

const SweepRoles roles(kStartRoute);

}  // namespace

TEST(Sweep, StartSurvivesTheFailureOfEachPlatformCall)
{
    expectSweepSurvives(kStartRoute);
}
