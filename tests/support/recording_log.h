// A lumoraLogPrint that keeps what the library logs. Linked into every test that holds the library's own objects.
#pragma once

#include <string>
#include <thread>
#include <vector>

struct LogLine {
    int module = 0;
    int level = 0;
    std::string tag;
    std::string format;  // with the common prefix
    // the prefix's six arguments, in their order
    std::string file;
    std::string function;
    int line = 0;
    std::string fileAgain;
    int lineAgain = 0;
    std::string functionAgain;
    std::string message;  // formatted, without the prefix
    std::thread::id thread;
};

// An address as %p prints it in a log line.
std::string printAddress(const void* address);

// Every line also goes to Journal::shared() as "log <level> <message>".
class RecordingLog {
public:
    static void clear();
    static std::vector<LogLine> lines();

    // The same, and clears: no line that comes meanwhile is lost.
    static std::vector<LogLine> take();

    // Messages of one level, or of all (0), in their order.
    static std::vector<std::string> messages(int level = 0);

    // How many lines of that level have exactly this message.
    static int count(int level, const std::string& message);

    // Whether a line of that level begins with the text.
    static bool hasLine(int level, const std::string& beginning);

    // A copy of the line for inspection; a default one (level 0) if there is none.
    static LogLine firstLine(int level, const std::string& beginning);

    // Waits up to the given time for a line of that level that begins with the text.
    static bool waitForLine(int level, const std::string& beginning, int milliseconds = 30000);

    // For programs that load the DLL: what its import of lumoraLogPrint is replaced by.
    static void* function();
};
