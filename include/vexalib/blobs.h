/// Blob labelling: the connected components of an image inside the region of interest.
#ifndef VEXALIB_BLOBS_H
#define VEXALIB_BLOBS_H

#include "vexalib/types.h"

VEXA_API int32_t I_FindBlobs(const uint8_t *lut, int32_t imSrc, int32_t imLabel);
VEXA_API int32_t I_FindBlobs1(double lowThreshold, double highThreshold, int32_t imSrc, int32_t imLabel);
VEXA_API int32_t I_FindBlobs2(int32_t lowThreshold, int32_t highThreshold, int32_t imSrc, int32_t imLabel);
VEXA_API int32_t I_SetBlobTableSize(int32_t limit);

#endif
