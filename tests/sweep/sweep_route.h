// One way through the library, as a host, a guest and a user go it together.
#pragma once

#include <string>

class SweepHost;

struct SweepRoute {
    const char* name;

    // Goes the whole way, whatever fails on it, and waits for the library's threads. @return what no failure explains
    std::string (*run)(SweepHost& host);

    // Whether it is the way of the very first calls, which each process goes but once.
    bool isStart = false;
};

extern const SweepRoute kStartRoute;
extern const SweepRoute kLocalCopyRoute;
extern const SweepRoute kOlePasteRoute;
extern const SweepRoute kLazyLandingRoute;
