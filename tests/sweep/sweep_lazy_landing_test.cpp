#include <gtest/gtest.h>

#include "sweep_roles.h"

namespace {

const SweepRoles roles(kLazyLandingRoute);

}  // namespace

TEST(Sweep, LazyLandingSurvivesTheFailureOfEachPlatformCall)
{
    expectSweepSurvives(kLazyLandingRoute);
}
