#include "support/trace.h"

#include <cstdarg>
#include <cstdio>

namespace vexa
{

void debugTrace(const char* format, ...)
{
    char line[512];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(line, sizeof line, format, arguments);
    va_end(arguments);
    std::fprintf(stderr, "%s\n", line);
}

} // namespace vexa
