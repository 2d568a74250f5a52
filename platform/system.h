// What a system's folder defines: its own functions, in the order of the public record. An entry that a
// system cannot give is null.
#ifndef VEXA_PLATFORM_SYSTEM_H
#define VEXA_PLATFORM_SYSTEM_H

#include "vexalib/platform.h"

namespace vexa::platform
{

extern const VexaPlatform kSystem;

} // namespace vexa::platform

#endif
