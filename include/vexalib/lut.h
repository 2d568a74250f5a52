/// Look-up tables: mapping pixels through them, building them, the display palette.
#ifndef VEXALIB_LUT_H
#define VEXALIB_LUT_H

#include "vexalib/types.h"

VEXA_API int32_t I_LUTMapROI(int32_t imSrc, int32_t imDest, const uint8_t *table);
VEXA_API int32_t I_RGBLUTMap(int32_t imSrc, int32_t imDest, const uint8_t *red, const uint8_t *green,
                             const uint8_t *blue);
VEXA_API int32_t I_MapLUTType(int32_t imSrc, int32_t imDest, const void *table, int32_t tableType, int32_t length);
VEXA_API int32_t I_SendLUT(uint8_t *table);
VEXA_API int32_t I_SetDisplayLUTs(uint8_t *red, uint8_t *green, uint8_t *blue);
VEXA_API int32_t I_SetGraphicsPalette(const uint8_t *red, const uint8_t *green, const uint8_t *blue);
VEXA_API int32_t I_GetGraphicsPalette(uint8_t *red, uint8_t *green, uint8_t *blue);
VEXA_API int32_t I_GetColorMode(void);
VEXA_API int32_t I_SetColorMode(int32_t mode);
VEXA_API double I_GetGammaCRT(void);
VEXA_API double I_SetGammaCRT(double gamma);
VEXA_API void I_MakeGammaLUT(uint8_t *table, double gamma);
VEXA_API void LogLUT(int32_t low, int32_t high, uint8_t *table);
VEXA_API void I_StretchLUT(int32_t low, int32_t high, uint8_t *table);
VEXA_API int32_t I_StretchLUT1(double low, double high, uint8_t *table);
VEXA_API void HistEqualizeLUT(int32_t limit, uint32_t *histogram, uint8_t *table);
VEXA_API void I_EqualizeLUT(int32_t limit, uint8_t *table);
VEXA_API int32_t I_InvertLUT(uint8_t *table);
VEXA_API void I_NormLUT(int32_t low, int32_t high, int32_t unused, uint8_t *table, int32_t im);
VEXA_API void I_SteppedLUT(double start, double step, uint8_t *table);
VEXA_API int32_t I_FalseColorLUT(int32_t low, int32_t high, uint8_t *red, uint8_t *green, uint8_t *blue, int32_t wrap,
                                 int32_t smooth);
VEXA_API int32_t I_FalseColorToGray(int32_t im);
VEXA_API void I_ThreshLUT(int32_t threshold, uint8_t *table);
VEXA_API void I_DualThreshLUT(int32_t low, int32_t high, uint8_t *table);
VEXA_API void I_DualLinThreshLUT(int32_t low, int32_t high, uint8_t *table);
VEXA_API int32_t setsearchpath(const char *path);
VEXA_API const char *getsearchpath(void);

#endif
