#include <gtest/gtest.h>

#include "sweep_roles.h"

namespace {

const SweepRoles roles(kLocalCopyRoute);

}  // namespace

TEST(Sweep, LocalCopySurvivesTheFailureOfEachPlatformCall)
{
    expectSweepSurvives(kLocalCopyRoute);
}
