/// What the operating system gives the library, and how an application puts its own in place.
#ifndef VEXALIB_PLATFORM_H
#define VEXALIB_PLATFORM_H

#include "vexalib/types.h"

/// Movable global memory blocks: what DIB handles are.
VEXA_API void *vexaGlobalAlloc(size_t bytes);
VEXA_API void *vexaGlobalLock(void *handle);
VEXA_API int32_t vexaGlobalUnlock(void *handle);
VEXA_API size_t vexaGlobalSize(void *handle);
VEXA_API void *vexaGlobalFree(void *handle);

#endif
