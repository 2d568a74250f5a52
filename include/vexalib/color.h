/// The colour model: processing mode, band selection, colour conversion, raw colours.
#ifndef VEXALIB_COLOR_H
#define VEXALIB_COLOR_H

#include "vexalib/types.h"

VEXA_API void I_SetColorProcMode(int32_t mode);
VEXA_API int32_t I_GetColorProcMode(void);
VEXA_API void I_ResetColorProcMode(void);
VEXA_API void I_SetStatsProcMode(int32_t mode);
VEXA_API void I_SetColorBand(int32_t band);
VEXA_API int32_t I_GetColorBand(void);
VEXA_API int32_t ConvertColorType(const void *source, int32_t sourceType, const void *sourcePalette, void *dest,
                                  int32_t destType, const void *destPalette, int32_t n);
VEXA_API int32_t PlanarToPacked(void *dest, int32_t destType, const void *palette, const uint8_t *red,
                                const uint8_t *green, const uint8_t *blue, int32_t n);
VEXA_API void ConvertSpace(const uint8_t *red, const uint8_t *green, const uint8_t *blue, int32_t sourceSpace,
                           uint8_t *destRed, uint8_t *destGreen, uint8_t *destBlue, int32_t destSpace, int32_t n);
VEXA_API int32_t ClosestRGB(int32_t red, int32_t green, int32_t blue, int32_t *redError, int32_t *greenError,
                            int32_t *blueError);
VEXA_API int32_t make332colorluts(void);
VEXA_API int32_t I_ApplyPalette(const uint8_t *red, const uint8_t *green, const uint8_t *blue, int32_t im);
VEXA_API int32_t I_SetBgrndColor(int32_t color);
VEXA_API int32_t I_GetBgrndColor(void);
VEXA_API uint8_t *GetRawColor(int32_t color, int32_t im);
VEXA_API uint8_t *GetRawColorRGB(int32_t rgb, int32_t im);
VEXA_API void InvertRawLine(void *buffer, int32_t n, int32_t bytes, int32_t im);

#endif
