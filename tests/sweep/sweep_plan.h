// The faults of a sweep, in a file that the processes share. One line each: import, call and way, by tabs.
#pragma once

#include <string>
#include <vector>

#include "fault_injector.h"

class SweepPlan {
public:
    static void write(const std::string& path, const std::vector<Fault>& faults);
    static std::vector<Fault> read(const std::string& path);
};
