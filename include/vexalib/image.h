/// The image table: opening, closing, subimages, parameters, comments, palettes.
#ifndef VEXALIB_IMAGE_H
#define VEXALIB_IMAGE_H

#include "vexalib/types.h"

VEXA_API int32_t I_ImOpen(int32_t cols, int32_t rows, int32_t type);
VEXA_API int32_t I_ImOpenEx(int32_t cols, int32_t rows, int32_t type, const char *comment);
VEXA_API int32_t I_ImOpenSpecial(int32_t cols, int32_t rows, int32_t bytes, int32_t type, int32_t a, int32_t b);
VEXA_API int32_t I_ImOpenStride(int32_t cols, int32_t rows, int32_t stride, int32_t type);
VEXA_API int32_t I_ImOpenPtr(int32_t cols, int32_t rows, int32_t stride, int32_t type, void *pixels);
VEXA_API int32_t I_ImOpenFile(int32_t cols, int32_t rows, int32_t stride, int32_t type, FILE *file);
VEXA_API int32_t I_ImOpenSubimage(int32_t x, int32_t y, int32_t cols, int32_t rows, int32_t parent);
VEXA_API int32_t I_ImResize(int32_t cols, int32_t rows, int32_t type, int32_t im);
VEXA_API int32_t I_ImClose(int32_t im);
VEXA_API int32_t I_ImClose3(int32_t im1, int32_t im2, int32_t im3);
VEXA_API void I_ImCloseAll(void);
VEXA_API int32_t I_ImValid(int32_t im);
VEXA_API int32_t I_ImFind(const char *text);
VEXA_API int32_t I_ImCount(void);
VEXA_API int32_t I_ImageCount(void);
VEXA_API int32_t I_ImGetSize(int32_t *cols, int32_t *rows, int32_t *bytes, int32_t im);
VEXA_API int32_t I_ImGetType(int32_t im);
VEXA_API int32_t I_ImGetStride(int32_t im);
VEXA_API int32_t I_ImIsFloat(int32_t im, int32_t *bands);
VEXA_API int32_t I_ImGetNBands(int32_t im);
VEXA_API int32_t I_ImTypeBytes(int32_t type);
VEXA_API int32_t I_ImGetParam(void *value, int32_t size, int32_t code, int32_t im);
VEXA_API int32_t I_ImSetParam(const void *value, int32_t size, int32_t code, int32_t im);
VEXA_API int32_t I_ImSetComment(const char *text, int32_t im);
VEXA_API int32_t I_ImGetComment(char *buffer, int32_t size, int32_t im);
VEXA_API int32_t I_ImSetMemType(int32_t kindMask);
VEXA_API int32_t I_SetImAutoClear(int32_t flag);
VEXA_API void *I_ImGetPtr(int32_t x, int32_t y, int32_t *bytesLeft, int32_t *stride, int32_t im);
VEXA_API void *I_ImGetPtrEx(int32_t x, int32_t y, int32_t *stride, int32_t im, int32_t type);
VEXA_API void **I_ImGet2DPtr(int32_t *cols, int32_t *rows, int32_t im, int32_t type);
VEXA_API double I_TotalBytesUsed(void);
VEXA_API int32_t I_SetComplexMode(int32_t mode);
VEXA_API int32_t I_ImCopyParams(int32_t imSrc, int32_t imDest);
VEXA_API int32_t I_SetPixValueRange(double minValue, double maxValue, int32_t im);
VEXA_API int32_t I_GetPixValueRange(double *minValue, double *maxValue, int32_t im);
VEXA_API int32_t I_PaletteIsGrayscale(const void *palette);
VEXA_API int32_t I_ImConvertType(int32_t im, int32_t type);

#endif
