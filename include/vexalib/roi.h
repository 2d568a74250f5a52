/// The region of interest and its scan lines.
#ifndef VEXALIB_ROI_H
#define VEXALIB_ROI_H

#include "vexalib/types.h"

VEXA_API int32_t I_GetROIType(void);
VEXA_API int32_t I_SetROIType(int32_t type);
VEXA_API int32_t I_SetWindowROI(int32_t left, int32_t top, int32_t right, int32_t bottom);
VEXA_API void I_GetWindowROI(int32_t *left, int32_t *top, int32_t *right, int32_t *bottom);
VEXA_API int32_t I_SetRectROI(const VexaBox *rectangle, int32_t margin);
VEXA_API int32_t I_SetPolygonROI(const VexaPoint *points, int32_t count);
VEXA_API int32_t I_GetPolygonROI(VexaPoint *points, int32_t maximum);
VEXA_API int32_t I_SetScanlistROI(const VexaPoint *points, int32_t count);
VEXA_API int32_t I_GetScanlistROI(VexaPoint *points, int32_t maximum);
VEXA_API VexaPoint *I_ROIScanlist(int32_t *count, int32_t im);
VEXA_API int32_t I_ROIBoundingBox(int32_t *left, int32_t *top, int32_t *right, int32_t *bottom, int32_t im);
VEXA_API int32_t I_ROIBoundingBox2(int32_t *left, int32_t *top, int32_t *right, int32_t *bottom, int32_t im1,
                                   int32_t im2);
VEXA_API int32_t I_ROIBoundingBox3(int32_t *left, int32_t *top, int32_t *right, int32_t *bottom, int32_t im1,
                                   int32_t im2, int32_t im3);
VEXA_API int32_t I_ROIBoundingBoxN(int32_t *left, int32_t *top, int32_t *right, int32_t *bottom,
                                   const int32_t *images, int32_t count);
VEXA_API int32_t I_ImGetMinSize(int32_t *cols, int32_t *rows, const int32_t *images, int32_t count);
VEXA_API double *I_ROISize(int32_t im, double *area, double *perimeter, double xScale, double yScale);
VEXA_API int32_t pPolygonArea(const void *points, int32_t count, int32_t pointBytes);
VEXA_API int32_t I_GetNextLine(int32_t *x, int32_t *y, int32_t *width, int32_t im, int32_t *first);
VEXA_API int32_t I_GetNextLines(int32_t *x, int32_t *y, int32_t *width, int32_t *height, int32_t im, int32_t *first,
                                int32_t reserved);
VEXA_API float I_SetCachingChunkMB(const float *megabytes);

#endif
