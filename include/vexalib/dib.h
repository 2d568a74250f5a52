/// Device-independent bitmaps and BMP files.
#ifndef VEXALIB_DIB_H
#define VEXALIB_DIB_H

#include "vexalib/types.h"

VEXA_API void *CheckDIB2(void *dib, int32_t *cols, int32_t *rows, int32_t *stride, int32_t *bits);
VEXA_API void *CheckDIB(void *dib, int32_t *cols, int32_t *rows, int32_t *bits);
VEXA_API void *CreateDIB2(int32_t cols, int32_t rows, int32_t bits, int32_t *stride, void **pixels);
VEXA_API void *CreateDIB(int32_t cols, int32_t rows, int32_t bits, void **pixels);
VEXA_API int32_t CreateDIBImage(void *dib);
VEXA_API int32_t I_CopyDIBtoImageEx(void *dib, const char *comment);
VEXA_API int32_t I_CopyDIBtoImage(void *dib);
VEXA_API int32_t I_CopyDIBtoImageShrink(void *dib, int32_t factor, const char *comment);
VEXA_API void *ConvertDIBto24(void *dib);
VEXA_API void *I_MapDIBPalette(void *dib);
VEXA_API void *DeflickerDIB(void *dib, int32_t flag);
VEXA_API int32_t CopyDIB(void *dib, void *buffer, int32_t offset, int32_t length, int32_t direction);
VEXA_API void *I_CopyBoxToDIB(int32_t x, int32_t y, int32_t cols, int32_t rows, int32_t im);
VEXA_API void *GetWindowBitmap(int32_t x, int32_t y, int32_t cols, int32_t rows, int32_t im);
VEXA_API void *I_CopyImageToDIB(int32_t im, int32_t close);
VEXA_API int32_t SetWindowBitmap(int32_t x, int32_t y, int32_t im, void *dib);
VEXA_API int32_t I_ReadBMP(const char *name);
VEXA_API void *I_ReadBMPtoDIB(const char *name);
VEXA_API int32_t I_WriteDIBtoBMP(const char *name, void *dib);
VEXA_API int32_t I_WriteBMP(const char *name, int32_t im);
VEXA_API int32_t I_GetBMPPixPerMeter(int32_t *x, int32_t *y);

#endif
