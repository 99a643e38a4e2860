#include <gtest/gtest.h>

#include "sweep_roles.h"

namespace {

const SweepRoles roles(kOlePasteRoute);

}  // namespace

TEST(Sweep, OlePasteSurvivesTheFailureOfEachPlatformCall)
{
    expectSweepSurvives(kOlePasteRoute);
}
