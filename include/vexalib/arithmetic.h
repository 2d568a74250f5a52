/// Arithmetic, logic, copies and masks: two images, or an image and a constant, pixel by pixel.
#ifndef VEXALIB_ARITHMETIC_H
#define VEXALIB_ARITHMETIC_H

#include "vexalib/types.h"

VEXA_API int32_t I_Add(int32_t imA, int32_t imB, int32_t imDest);
VEXA_API int32_t I_Subtract(int32_t imA, int32_t imB, int32_t imDest, int32_t dx, int32_t dy);
VEXA_API int32_t I_SubtractEx(int32_t imA, int32_t imB, int32_t imDest, int32_t dx, int32_t dy, int32_t clipMode);
VEXA_API int32_t I_Subtract1Ex(int32_t imA, int32_t imB, int32_t imDest, float dx, float dy, int32_t clipMode,
                               float sharpness, uint32_t *histogram);
VEXA_API double I_SubtractMax(int32_t imA, int32_t imB, int32_t imDest, int32_t dx, int32_t dy, VexaPoint *point);
VEXA_API int32_t I_SubtractNMax(int32_t imA, int32_t imB, int32_t imDest, int32_t dx, int32_t dy, VexaPoint *points,
                                double *values, int32_t n, int32_t separation, double threshold);
VEXA_API int32_t I_And(int32_t imA, int32_t imB, int32_t imDest);
VEXA_API int32_t I_Or(int32_t imA, int32_t imB, int32_t imDest);
VEXA_API int32_t I_Xor(int32_t imA, int32_t imB, int32_t imDest);
VEXA_API int32_t I_Min(int32_t imA, int32_t imB, int32_t imDest);
VEXA_API int32_t I_Max(int32_t imA, int32_t imB, int32_t imDest);
VEXA_API int32_t I_MaxRGB(int32_t imSrc, int32_t imDest);
VEXA_API int32_t I_Multiply(int32_t imA, int32_t imB, int32_t imDest, double divisor);
VEXA_API int32_t I_Sqrt(int32_t imSrc, int32_t imDest);
VEXA_API int32_t I_Divide(int32_t imA, int32_t imB, int32_t imDest, double gain);
VEXA_API int32_t I_Blend(int32_t imA, int32_t imB, int32_t imDest, float factor);
VEXA_API int32_t I_BlendByPixel(int32_t imA, int32_t imB, int32_t imWeights, int32_t imDest);
VEXA_API int32_t I_FlatField(int32_t imSrc, int32_t imDark, int32_t imFlat, int32_t imDest, int32_t gain);
VEXA_API int32_t I_ConstOR(int32_t imSrc, int32_t imDest, int32_t value);
VEXA_API int32_t I_ConstXOR(int32_t imSrc, int32_t imDest, int32_t value);
VEXA_API int32_t I_ConstAnd(int32_t imSrc, int32_t imDest, int32_t value);
VEXA_API int32_t I_ConstAdd(int32_t imSrc, int32_t imDest, double value);
VEXA_API int32_t I_ConstSubAbs(int32_t imSrc, int32_t imDest, double value);
VEXA_API int32_t I_ConstMult(int32_t imSrc, int32_t imDest, double value);
VEXA_API int32_t I_ScaleIntensityROI(int32_t imSrc, int32_t imDest, double offset, double scale);
VEXA_API int32_t I_ScaleIntensityROIAbs(int32_t imSrc, int32_t imDest, double offset, double scale);
VEXA_API int32_t I_CopyROI(int32_t imSrc, int32_t imDest);
VEXA_API int32_t I_ROICopy(int32_t imSrc, int32_t imDest, int32_t dx, int32_t dy);
VEXA_API int32_t I_CopyBand(int32_t imSrc, int32_t imDest, const char *band, int32_t ignoreROI);
VEXA_API int32_t I_OverlayROI(int32_t imA, int32_t imB, int32_t imDest);
VEXA_API int32_t I_MaskedCopy(int32_t imSrc, int32_t imDest, int32_t imMask, const uint8_t *table);
VEXA_API int32_t I_MaskFromColor(int32_t imSrc, int32_t imDest, int32_t color, int32_t tolerance, int32_t value);

#endif
