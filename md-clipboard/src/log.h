// The one way in which the library writes a log line.
#pragma once

#include "lumora_log.h"

namespace sd::clip {

// The levels as log.dll numbers them.
enum LogLevel : int {
    kLogInfo = 5,   // normal progress, and refusals that are expected
    kLogError = 6,  // a failed step or a refused operation that the caller survives
    kLogFatal = 7,  // a failure of the system's resources
};

// What follows the last backslash of a compile-time path, or the whole path if it has none: only backslashes count,
// so a path that the compiler was given with forward slashes is printed whole, relative to the repository.
constexpr const char* logBaseName(const char* path)
{
    const char* base = path;
    for (const char* c = path; *c != '\0'; ++c) {
        if (*c == '\\')
            base = c + 1;
    }
    return base;
}

// Hands one line to log.dll. Readers of the logs count on the order of the prefix's six arguments.
template <class... Arguments>
void writeLogLine(int level, const char* file, const char* function, int line, const char* format,
                  Arguments... arguments)
{
    const char* base = logBaseName(file);
    lumoraLogPrint(0, level, "clipboard", format, base, function, line, base, line, function, arguments...);
}

}  // namespace sd::clip

#define CLIP_LOG_PREFIX "%s %s(%d): %s:%d %s "

// CLIP_LOG(level, "format", arguments...): the format must be a literal, since the prefix is glued to it.
#define CLIP_LOG(level, ...) ::sd::clip::writeLogLine(level, __FILE__, __func__, __LINE__, CLIP_LOG_PREFIX __VA_ARGS__)
