/// Thresholds, stretches to a range, gamma, borders.
#ifndef VEXALIB_THRESHOLD_H
#define VEXALIB_THRESHOLD_H

#include "vexalib/types.h"

VEXA_API int32_t I_Threshold(int32_t imSrc, int32_t imDest, float low, float high);
VEXA_API int32_t I_GammaMap(int32_t imSrc, int32_t imDest, float gamma);
VEXA_API int32_t I_NormalizeRange(int32_t imSrc, int32_t imDest, float low, float high, float maxGain,
                                  int32_t wholeImage);
VEXA_API int32_t I_NormalizeROIEx(int32_t imSrc, int32_t imDest, int32_t wholeImage);
VEXA_API int32_t I_NormalizeROI(int32_t imSrc, int32_t imDest);
VEXA_API int32_t I_NormalizeLimited(int32_t imSrc, int32_t imDest, float maxGain);
VEXA_API float I_GetNormalizeRange(float *minimum, float *maximum, float *mean, float *deviation);
VEXA_API int32_t I_CopyBorder(void *pixels, int32_t bytes, int32_t stride, int32_t rows, int32_t left, int32_t top,
                              int32_t right, int32_t bottom);
VEXA_API int32_t I_ImCopyBorder(int32_t im, int32_t left, int32_t top, int32_t right, int32_t bottom);

#endif
