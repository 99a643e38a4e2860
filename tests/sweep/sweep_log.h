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

    // How many lines have the text in them, and whether some line has it.
    static int count(const std::string& text);
    static bool has(const std::string& text);

    // To be called when the engine hears of a change, before its worker is told.
    static void noteChange();

    // To be called at the end of each report of formats, which ends a detection.
    static void noteReport();

    // Detections of the engine's worker: how many have begun; whether one has begun after the last change, and none
    // runs; how many took the library's own write for what it is.
    static int detections();
    static bool isLastChangeSeen();
    static int ownWrites();

    // Data objects that have not died, and those of a failed OleSetClipboard, which are kept by decision and not among
    // them.
    static int liveObjects();
    static int keptObjects();
};
