// Debug trace: a line for the developer who watches the standard error stream. It changes no state and no result.
#ifndef VEXA_SUPPORT_TRACE_H
#define VEXA_SUPPORT_TRACE_H

#include "vexalib/types.h"

namespace vexa
{

void debugTrace(const char* format, ...) VEXA_PRINTF(1, 2);

} // namespace vexa

#endif
