// The one way in which the library writes a log line.
#pragma once

#include <cstddef>
#include <type_traits>

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
constexpr std::size_t logBaseOffset(const char* path)
{
    std::size_t offset = 0;
    for (std::size_t i = 0; path[i] != '\0'; ++i) {
        if (path[i] == '\\')
            offset = i + 1;
    }
    return offset;
}

constexpr const char* logBaseName(const char* path)
{
    return path + logBaseOffset(path);
}

// Hands one line to log.dll. Readers of the logs count on the order of the prefix's six arguments.
template <class... Arguments>
void writeLogLine(int level, const char* base, const char* function, int line, const char* format,
                  Arguments... arguments)
{
    lumoraLogPrint(0, level, "clipboard", format, base, function, line, base, line, function, arguments...);
}

}  // namespace sd::clip

#define CLIP_LOG_PREFIX "%s %s(%d): %s:%d %s "

// The name of the file as the prefix has it. Found by the compiler: a search in each line would be a sixth of what the
// library does for a small delivery.
#define CLIP_LOG_FILE (&__FILE__[std::integral_constant<std::size_t, ::sd::clip::logBaseOffset(__FILE__)>::value])

// CLIP_LOG(level, "format", arguments...): the format must be a literal, since the prefix is glued to it.
#define CLIP_LOG(level, ...) \
    ::sd::clip::writeLogLine(level, CLIP_LOG_FILE, __func__, __LINE__, CLIP_LOG_PREFIX __VA_ARGS__)
