// The log of the fuzz targets: formats each line, so that a sanitizer sees what the line reads, and drops it.
#include <cstdarg>
#include <cstdio>

#include "lumora_log.h"

extern "C" void lumoraLogPrint(int, int, const char*, const char* format, ...)
{
    char line[1024];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(line, sizeof line, format, arguments);
    va_end(arguments);
}
