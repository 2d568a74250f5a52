/// Stored regions of interest, their stack, combination and text file.
#ifndef VEXALIB_ROI_STORE_H
#define VEXALIB_ROI_STORE_H

#include "vexalib/types.h"

VEXA_API int32_t I_SaveROI(int32_t slot);
VEXA_API int32_t I_RecallROI(int32_t slot);
VEXA_API VexaPoint *getroidata(int32_t *type, int32_t *count);
VEXA_API int32_t setroidata(int32_t type, int32_t count, const VexaPoint *points);
VEXA_API int32_t I_PushROI(void);
VEXA_API int32_t I_PushWindowROI(int32_t left, int32_t top, int32_t right, int32_t bottom);
VEXA_API int32_t I_PopROI(void);
VEXA_API void I_CombineROIs(int32_t slotA, int32_t slotB, int32_t slotResult, int32_t im);
VEXA_API int32_t I_CombineRectROIs(VexaBox *a, VexaBox *b, int32_t im);
VEXA_API int32_t I_ReverseROI(int32_t im);
VEXA_API int32_t I_ClearROI(int32_t value, int32_t im);
VEXA_API int32_t I_ClearOutsideROI(int32_t value, int32_t im);
VEXA_API int32_t readroifile(const char *name);
VEXA_API int32_t writeroifile(const char *name);
VEXA_API int32_t I_ROIDup(int32_t im);
VEXA_API int32_t windowdup(int32_t left, int32_t top, int32_t right, int32_t bottom, int32_t im, int32_t imReuse);
VEXA_API int32_t windowpaste(int32_t dx, int32_t dy, int32_t imDest, int32_t imSrc);
VEXA_API int32_t polygonpaste(int32_t unused1, int32_t unused2, int32_t imDest, int32_t imSrc);
VEXA_API int32_t roipaste(int32_t unused1, int32_t unused2, int32_t imSrc);
VEXA_API int32_t I_MakePolyCircle(double centerX, double centerY, double radius, double aspect, int32_t points);
VEXA_API VexaPointF *I_MakeCircleList(float centerX, float centerY, float radius, float aspect, int32_t *count);

#endif
