// The command that follows a contour.
#ifndef VEXA_APPS_TRACE_H
#define VEXA_APPS_TRACE_H

#include <cstdint>
#include <string>

namespace app
{

struct TraceCommand {
    std::string picture;
    int32_t threshold = 128;
    std::string start; // "X,Y", or empty: the upper left corner
    std::string out;   // list to write, or empty: it is printed
};

int runTrace(const TraceCommand& command);

} // namespace app

#endif
