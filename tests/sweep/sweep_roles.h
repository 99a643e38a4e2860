// What a test program that sweeps one route is made of: the roles of its children, and that of scripts/sweep.
#pragma once

#include "fault_sweep.h"
#include "support/test_roles.h"
#include "sweep_child.h"

class SweepRoles {
public:
    explicit SweepRoles(const SweepRoute& route);

private:
    TestRole mCount;
    TestRole mRun;
    TestRole mAll;
};

// Sweeps the first and the last call of each import, prints the figures, and expects that all survive.
void expectSweepSurvives(const SweepRoute& route);
