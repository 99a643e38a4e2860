// Counts the platform calls of a module, and lets one of them fail.
#pragma once

#include <string>
#include <vector>

class SweptImport;

// One call of one import that fails in one of its documented ways.
struct Fault {
    std::string import;
    int call = 0;  // 1 is the first in a run
    std::string way;
};

// Threads: the runs are one thread's; the calls come from any.
class FaultInjector {
public:
    struct Outcome {
        bool hit = false;     // the call came, and failed
        bool silent = false;  // such a failure is not logged
    };

    // From here on calls count, and none fails.
    static void beginCount();

    // The same, and the call of the fault fails. Throws std::runtime_error if there is no such import or way.
    static void begin(const Fault& fault);

    // Calls count no longer.
    static Outcome end();

    // Called by the replaced import: the way in which this call is to fail, or -1.
    static int arrive(SweptImport& import);

    // By the same, for a failure that is not logged.
    static void noteSilence();
};
