// What the DLL logs under stress: every line is formatted, as a host's log does it, and only counted.
#pragma once

#include <string>
#include <vector>

class StressLog {
public:
    // What the DLL's import of lumoraLogPrint is replaced by.
    static void* function();

    // Data objects that were made and have not died. Those of a failed OleSetClipboard are kept for ever, by decision.
    static int liveObjects();
    static int keptObjects();

    static long long lines();

    // The last ones, with the threads that wrote them.
    static std::vector<std::string> lastLines();
};
