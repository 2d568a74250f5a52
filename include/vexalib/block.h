/// Blocks of pixels: reading, writing, copying, clearing, in any pixel type.
#ifndef VEXALIB_BLOCK_H
#define VEXALIB_BLOCK_H

#include "vexalib/types.h"

VEXA_API int32_t I_GetBlockType(int32_t x, int32_t y, int32_t width, int32_t height, void *buffer, int32_t im,
                                int32_t type);
VEXA_API int32_t I_GetBlockTypeEx(int32_t x, int32_t y, int32_t width, int32_t height, void *buffer, int32_t im,
                                  int32_t type, int32_t pitch);
VEXA_API int32_t I_PutBlockType(int32_t x, int32_t y, int32_t width, int32_t height, const void *buffer, int32_t im,
                                int32_t type);
VEXA_API int32_t I_PutBlockTypeEx(int32_t x, int32_t y, int32_t width, int32_t height, const void *buffer, int32_t im,
                                  int32_t type, int32_t pitch);
VEXA_API int32_t I_ImageCopy(int32_t imSrc, int32_t imDest);
VEXA_API int32_t I_CloneImage(int32_t imSrc, int32_t type, int32_t copyContents);
VEXA_API int32_t I_CloneImageEx(int32_t imSrc, int32_t type, int32_t copyContents, const char *comment);
VEXA_API void *I_DupBlockType(int32_t x, int32_t y, int32_t width, int32_t height, int32_t im, int32_t type);
VEXA_API void **I_Dup2DBlockType(int32_t x, int32_t y, int32_t width, int32_t height, int32_t im, int32_t type);
VEXA_API int32_t I_Put2DBlockType(int32_t x, int32_t y, int32_t width, int32_t height, void **array, int32_t im,
                                  int32_t type);
VEXA_API int32_t I_ImCopyBlock(int32_t width, int32_t height, int32_t sourceX, int32_t sourceY, int32_t imSrc,
                               int32_t destX, int32_t destY, int32_t imDest);
VEXA_API int32_t I_RectCopy(int32_t sourceX, int32_t sourceY, int32_t destX, int32_t destY, int32_t width,
                            int32_t height, int32_t imSrc, int32_t imDest);
VEXA_API int32_t I_CopyBlockType(const void *source, int32_t sourcePitch, int32_t sourceCols, int32_t sourceRows,
                                 int32_t sourceType, int32_t sourceX, int32_t sourceY, int32_t sourceWidth,
                                 int32_t sourceHeight, void *dest, int32_t destPitch, int32_t destCols,
                                 int32_t destRows, int32_t destType, int32_t destX, int32_t destY, int32_t destWidth,
                                 int32_t destHeight, const ScaleRecord *scale);
VEXA_API int32_t I_CopyBlock(const void *source, int32_t sourcePitch, int32_t sourceRows, int32_t sourceX,
                             int32_t sourceY, int32_t sourceWidth, int32_t sourceHeight, void *dest,
                             int32_t destPitch, int32_t destRows, int32_t destX, int32_t destY, int32_t destWidth,
                             int32_t destHeight, int32_t bytes);
VEXA_API int32_t CopyBlock1(int32_t rowBytes, int32_t rows, const void *source, int32_t sourcePitch, void *dest,
                            int32_t destPitch);
VEXA_API int32_t CopyBlockRev(int32_t rowBytes, int32_t rows, const void *source, int32_t sourcePitch, void *dest,
                              int32_t destPitch);
VEXA_API int32_t I_CopySubArray(const void *source, int32_t sourcePitch, int32_t unused, void *dest, int32_t rowBytes,
                                int32_t rows, int32_t xOffset, int32_t yOffset);
VEXA_API int32_t I_ImClear(int32_t im, double value);
VEXA_API int32_t I_ImClearType(int32_t im, const void *value, int32_t valueType);
VEXA_API int32_t I_ImClearBlockType(int32_t x, int32_t y, int32_t width, int32_t height, const void *value,
                                    int32_t im, int32_t valueType);
VEXA_API int32_t I_ClearRect(int32_t x1, int32_t y1, int32_t x2, int32_t y2, int32_t value, int32_t im);
VEXA_API int32_t I_ImInvertRows(int32_t im);
VEXA_API int32_t I_ImGetRange(double *minValue, double *maxValue, int32_t im);
VEXA_API int32_t I_ComputePixelRange(int32_t ignored, int32_t im);
VEXA_API float I_GetPix(int32_t x, int32_t y, int32_t im);
VEXA_API int32_t I_PutPix(int32_t x, int32_t y, float value, int32_t im);
VEXA_API int32_t I_GetPixByte(int32_t x, int32_t y, int32_t im);
VEXA_API int32_t I_PutPixByte(int32_t x, int32_t y, int32_t value, int32_t im);
VEXA_API int32_t I_GetPixBGR(int32_t x, int32_t y, int32_t im);
VEXA_API int32_t I_RectDup(int32_t x, int32_t y, int32_t width, int32_t height, int32_t im);
VEXA_API int32_t I_CloneRect(int32_t im, int32_t type, int32_t x1, int32_t y1, int32_t x2, int32_t y2);

#endif
