/// Area, centroid and best-fit ellipse of a region; the centroid of a peak.
///
///     images       I_BinaryMoments I_GrayMoments
///     scan lists   ScanlistMoments
///     sums         I_ComputeMoments
///     profiles     I_CentroidType
///
/// Example: where the bright spot in the window is, in pixels, and how long it is in micrometres.
///
///     double area, pixels, longAxis, shortAxis, angle;
///     VexaPointF at;
///     if (I_BinaryMoments(&area, &pixels, &at, &longAxis, &shortAxis, &angle, 0.2, 0.2, 128, 1, im))
///         printf("%.1f, %.1f: %.2f long\n", at.x, at.y, 4.0 * longAxis);
///
/// The ellipse is the one of equal second moments. The axes given are half its semi-axes: a disc of radius
/// R has axes of R / 2. One pixel and a straight line have axes and an angle of 0. All outputs may be null.
#ifndef VEXALIB_MOMENTS_H
#define VEXALIB_MOMENTS_H

#include "vexalib/types.h"

/// Moments of the pixels on one side of a threshold, inside the region of interest: those with p >=
/// threshold if above is set, else those with p < threshold. Each counts 1.
///
/// @param area             number of pixels * xScale * yScale
/// @param pixels           number of pixels
/// @param centroid         mean position in pixels, not scaled
/// @param longAxis,shortAxis axes of the ellipse in scaled units, see I_ComputeMoments
/// @param angle            of the long axis, in radians, against the x axis; the sign belongs to y pointing
///                         down
/// @param xScale,yScale    size of a pixel
/// @param im               read run by run as bytes, colour by the statistic processing mode
///                         (I_SetStatsProcMode)
/// @return as I_ComputeMoments: 0 if no pixel counts; 0, outputs left alone, with error 2 (empty tag)
///         without memory for a row, and with error 20 or 24 for an image that is not open
///
/// While it walks the first 64 points of the scan list it asks I_UserBreak after each run: a break leaves
/// error 6 "USER_BREAK", and the result is that of the runs summed so far. Runs beyond the image's edge are
/// cut to it.
VEXA_API int32_t I_BinaryMoments(double *area, double *pixels, VexaPointF *centroid, double *longAxis,
                                 double *shortAxis, double *angle, double xScale, double yScale,
                                 int32_t threshold, int32_t above, int32_t im);

/// The same with weights: a pixel weighs p - threshold + 1 if above is set, else threshold - p, and counts
/// if that is above 0.
///
/// @param area   number of pixels that count * xScale * yScale
/// @param pixels the mass: the sum of the weights. A mass beyond 32 bits is measured, but returns 0 without
///               axes
VEXA_API int32_t I_GrayMoments(double *area, double *pixels, VexaPointF *centroid, double *longAxis,
                               double *shortAxis, double *angle, double xScale, double yScale,
                               int32_t threshold, int32_t above, int32_t im);

/// Moments of all pixels of a scan list, at scales of 1. Outputs are zeroed first.
///
/// A pair of points on two rows, or with its end left of its start, is no run: the walk goes on one point
/// further.
///
/// @param points count points, not changed; null counts as none
/// @param pixels number of pixels
/// @return as I_ComputeMoments
VEXA_API int32_t ScanlistMoments(const VexaPoint *points, int32_t count, double *pixels, VexaPointF *centroid,
                                 double *longAxis, double *shortAxis, double *angle);

/// Centroid and ellipse from sums over n pixels (or a mass of n). With c = 4 / pi, a = xScale, b = yScale:
///
///     centroid = (sumX / n, sumY / n)
///     mx  = c * a^3 * b   * (sumXX - sumX * sumX / n)
///     my  = c * a * b^3   * (sumYY - sumY * sumY / n)
///     mxy = c * a^2 * b^2 * (sumXY - sumX * sumY / n)
///     d = sqrt(4 * mxy^2 + (mx - my)^2),  r = (mx * my - mxy^2)^(1/4)
///     longAxis  = 0.5 * sqrt((mx + my + d) / (2 * r))
///     shortAxis = 0.5 * sqrt((mx + my - d) / (2 * r))
///     angle     = -0.5 * atan2(2 * mxy, mx - my), 0 where mx equals my
///
/// Axes and angle are 0 where mx * my - mxy^2 is not above 0.
///
/// @return 1; 0, all outputs zeroed, for n below 1; 0 with error 15 where r vanishes all the same
VEXA_API int32_t I_ComputeMoments(double sumX, double sumY, double sumXX, double sumYY, double sumXY,
                                  int32_t n, VexaPointF *centroid, double *longAxis, double *shortAxis,
                                  double *angle, double xScale, double yScale);

/// The centroid of one peak in an array.
///
/// The largest value from center - halfWidth up to but not including center + halfWidth is looked for, the
/// first of equals. The walk begins halfWidth in front of it, and the value there is the base. Values above
/// the base weigh what they stand above it, up to the first that does not: with the one before it as
/// previous, f = (previous - base) / (previous - value), it closes the peak with weight f * (value - base)
/// at place index * f.
///
/// @param buffer length elements of a pixel type, converted to floats
/// @param center negative: the whole array is searched
/// @return the position, in samples from 0; 0 for a flat array, null, a length below 1, and, with error 2,
///         without memory for the floats
VEXA_API float I_CentroidType(const void *buffer, int32_t length, int32_t center, int32_t halfWidth,
                              int32_t type);

#endif
