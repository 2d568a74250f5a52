/// Area, centroid and best-fit ellipse of a region; the centroid of a peak.
#ifndef VEXALIB_MOMENTS_H
#define VEXALIB_MOMENTS_H

#include "vexalib/types.h"

VEXA_API int32_t I_BinaryMoments(double *area, double *pixels, VexaPointF *centroid, double *longAxis,
                                 double *shortAxis, double *angle, double xScale, double yScale, int32_t threshold,
                                 int32_t above, int32_t im);
VEXA_API int32_t I_GrayMoments(double *area, double *pixels, VexaPointF *centroid, double *longAxis,
                               double *shortAxis, double *angle, double xScale, double yScale, int32_t threshold,
                               int32_t above, int32_t im);
VEXA_API int32_t ScanlistMoments(const VexaPoint *points, int32_t count, double *pixels, VexaPointF *centroid,
                                 double *longAxis, double *shortAxis, double *angle);
VEXA_API int32_t I_ComputeMoments(double sumX, double sumY, double sumXX, double sumYY, double sumXY, int32_t n,
                                  VexaPointF *centroid, double *longAxis, double *shortAxis, double *angle,
                                  double xScale, double yScale);
VEXA_API float I_CentroidType(const void *buffer, int32_t length, int32_t center, int32_t halfWidth, int32_t type);

#endif
