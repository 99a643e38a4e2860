// A process of its own for a part of a sweep: a fault that ends it, or that it never comes back from, costs no more.
#pragma once

#include <string>
#include <vector>

#include "sweep_route.h"

// The roles of a test program that sweeps a route. What they print is read by FaultSweep.
class SweepChild {
public:
    explicit SweepChild(const SweepRoute& route) : mRoute(route) {}

    // "calls IMPORT COUNT COUNT" for the fewest and the most calls of a run, then "held" and what the process holds.
    int count() const;

    // @param arguments the plan's path, the first fault and the one behind the last, and what may be held (nothing:
    // what
    //                  the process holds before)
    // For each fault "try NUMBER", and then "survived NUMBER line", "... silent", "... unreached" or "problem NUMBER"
    // with a text. Ends after a problem.
    int run(const std::vector<std::string>& arguments) const;

private:
    const SweepRoute& mRoute;
};
