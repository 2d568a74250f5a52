/// Row operator frames and the clip mode: running a row function over the region of interest.
#ifndef VEXALIB_FRAMES_H
#define VEXALIB_FRAMES_H

#include "vexalib/types.h"

VEXA_API int32_t I_UnaryOpType(int32_t imSrc, int32_t imDest, void *parameter, UnaryRowFilter function, int32_t type);
VEXA_API int32_t I_BinaryOperatorType(int32_t imA, int32_t imB, int32_t imDest, int32_t dx, int32_t dy,
                                      void *parameter, BinaryRowFilter function, int32_t type);
VEXA_API int32_t I_BinaryOperator(int32_t imA, int32_t imB, int32_t imDest, int32_t dx, int32_t dy, void *parameter,
                                  BinaryRowFilter function);
VEXA_API int32_t I_DoStatsOpType(int32_t im, void *parameter, StatsRowFilter function, int32_t type);
VEXA_API int32_t GetImageXY(int32_t index, int32_t *x, int32_t *y);
VEXA_API int32_t I_SetClipMode(int32_t mode);
VEXA_API int32_t I_GetClipMode(void);

#endif
