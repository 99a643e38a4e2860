// What the DLL logs during a sweep.
#pragma once

#include <string>
#include <vector>

class SweepLog {
public:
    // What the DLL's import of lumoraLogPrint is replaced by.
    static void* function();

    // Forgets the lines; the counts below go on.
    static void clear();

    // "level message", without the prefix.
    static std::vector<std::string> lines();

    // The level and the message as it stands in the sources.
    static std::vector<std::string> formats();

    // Whether some line has the text in it.
    static bool has(const std::string& text);

    // To be called at the end of each report of formats, which ends a detection.
    static void noteReport();

    // Detections of the engine's worker: how many have begun, and how many of them have not ended.
    static int detections();
    static int runningDetections();

    // Data objects that have not died, and those of a failed OleSetClipboard, which are kept by decision and not among
    // them.
    static int liveObjects();
    static int keptObjects();
};
