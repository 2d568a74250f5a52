/// Conversion of runs of pixels between pixel types.
#ifndef VEXALIB_CONVERSION_H
#define VEXALIB_CONVERSION_H

#include "vexalib/types.h"

VEXA_API int32_t SetupScale(const ImageRecord *record, int32_t otherType, ScaleRecord *scale,
                            const void *sourcePalette, const void *destPalette, int32_t sourceFlip, int32_t destFlip,
                            int32_t readDirection);
VEXA_API void ConvertPixelType(const void *source, int32_t sourceType, void *dest, int32_t destType, int32_t n,
                               const ScaleRecord *scale);
VEXA_API void *I_ArrayConvert(const void *source, int32_t sourceType, void *dest, int32_t destType, int32_t n);
VEXA_API void *I_DupArrayType(const void *source, int32_t sourceType, int32_t destType, int32_t n);

#endif
