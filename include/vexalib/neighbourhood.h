/// Working types and common sizes of several images.
#ifndef VEXALIB_NEIGHBOURHOOD_H
#define VEXALIB_NEIGHBOURHOOD_H

#include "vexalib/types.h"

VEXA_API int32_t I_GetMinSize2(int32_t *width, int32_t *height, int32_t *bytes1, int32_t *bytes2, int32_t im1,
                               int32_t im2);
VEXA_API int32_t I_GetMinSize3(int32_t *width, int32_t *height, int32_t *bytes1, int32_t *bytes2, int32_t *bytes3,
                               int32_t im1, int32_t im2, int32_t im3);
VEXA_API int32_t NarrowestPixelType(int32_t im1, int32_t im2, int32_t im3, int32_t colorAsBytes);
VEXA_API int32_t WidestPixelType(int32_t im1, int32_t im2, int32_t im3);

#endif
