/// Queries on the blob table that the last search left.
#ifndef VEXALIB_BLOB_TABLE_H
#define VEXALIB_BLOB_TABLE_H

#include "vexalib/types.h"

VEXA_API int32_t I_GetBlobCount(void);
VEXA_API int32_t I_GetBlobFirstPixel(int32_t blob, VexaPoint *pixel);
VEXA_API int32_t I_GetBlobMoments1(int32_t blob, int32_t *count, int32_t *sumIntensity, int32_t *sumX, int32_t *sumY);
VEXA_API int32_t I_GetBlobMoments2(int32_t blob, int32_t imLabel, int32_t imGrey, VexaPointF *centroid,
                                   double *longAxis, double *shortAxis, double *angle);
VEXA_API int32_t I_GetBlobBoundingBox(int32_t blob, int32_t *left, int32_t *top, int32_t *right, int32_t *bottom);
VEXA_API int32_t I_BlobTouchesROIEdge(int32_t blob, int32_t *mask);
VEXA_API int32_t I_GetBlobEdgeCount(int32_t blob, int32_t imLabel);
VEXA_API int32_t I_GetBlobScanList(int32_t blob, int32_t imLabel, VexaPoint *points, int32_t *count,
                                   int32_t capacity);
VEXA_API int32_t I_MakeBlobROI(int32_t blob, int32_t imLabel);
VEXA_API int32_t I_DisplayBlobTable(int32_t imLabel, int32_t imGrey);

#endif
