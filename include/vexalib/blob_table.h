/// Queries on the blob table that the last search left.
///
///     how many, where   I_GetBlobCount I_GetBlobFirstPixel I_GetBlobBoundingBox I_BlobTouchesROIEdge
///     sums, moments     I_GetBlobMoments1 I_GetBlobMoments2
///     shape             I_GetBlobEdgeCount I_GetBlobScanList I_MakeBlobROI
///     listing           I_DisplayBlobTable
///
/// Blobs are numbered from 0 to I_GetBlobCount() - 1; blob b has the value b + 1 in the label image that the search
/// was given. Each search, and I_SetBlobTableSize, drops the results of the one before.
///
///     int32_t pixels, sum, x, y;
///     if (I_FindBlobs(NULL, im, labels) && I_GetBlobCount() > 0) {
///         I_GetBlobMoments1(0, &pixels, &sum, &x, &y);
///         printf("blob 0: %d pixels around (%g, %g)\n", pixels, (double)x / pixels, (double)y / pixels);
///     }
///
/// A bad number sets error 12 "QUERY:#%d of %d", with the number and the count, in the name given with each query,
/// and the answers to it differ:
///
///     I_GetBlobFirstPixel      0, no error
///     I_GetBlobMoments1        1, zeros and the error
///     I_BlobTouchesROIEdge     -1 and the error
///     all others               0 and the error, or as told there
///
/// Every output pointer may be null unless it says otherwise; outputs are written only where a value is known.
#ifndef VEXALIB_BLOB_TABLE_H
#define VEXALIB_BLOB_TABLE_H

#include "vexalib/types.h"

/// @name How many, where
/// @{

/// The number of blobs of the last search; 0 before any.
VEXA_API int32_t I_GetBlobCount(void);

/// A blob's number of pixels, and its first pixel: the smallest x and, on its own, the smallest y among the pixels
/// that opened the records it was joined from.
///
/// @return the pixels; 0 for a bad number, which sets no error
VEXA_API int32_t I_GetBlobFirstPixel(int32_t blob, VexaPoint *pixel);

/// The smallest rectangle around a blob, all four sides inclusive.
///
/// @return 1; or 0 with error 12 "GetBlobBoundingBox:#%d of %d"
VEXA_API int32_t I_GetBlobBoundingBox(int32_t blob, int32_t *left, int32_t *top, int32_t *right,
                                      int32_t *bottom);

/// Which sides of the region of interest a blob reaches: 1 left, 2 top, 4 right, 8 bottom, added up in mask. The sides
/// are those of the region's bounding box at the search.
///
/// @return the number of sides, 4 for a blob that fills the region; or -1 with error 12 "GetBlobTouchesROI:#%d of %d"
VEXA_API int32_t I_BlobTouchesROIEdge(int32_t blob, int32_t *mask);
/// @}

/// @name Sums, moments
/// @{

/// A blob's pixels and the sums of their values, x and y. Sums that do not fit 32 bits give INT32_MIN.
///
/// @return 1; 0 before any search has opened a blob. A bad number sets error 12 "GetBlobMoments:#%d of %d", gives
///         zeros, and 1 all the same.
VEXA_API int32_t I_GetBlobMoments1(int32_t blob, int32_t *count, int32_t *sumIntensity, int32_t *sumX,
                                   int32_t *sumY);

/// The grey-level moments of a blob: I_GrayMoments over its pixels in imGrey, at unit scale.
///
/// The threshold is that of the last I_FindBlobs1: the lower argument, truncated, with weights above it, if it is above
/// 0; else the higher one with weights below.
///
/// @param imLabel  the label image of the search
/// @param centroid in pixels
/// @param longAxis,shortAxis,angle of the ellipse of equal moments; angle in radians
/// @return 1, also where the label image has no pixel of the blob, the outputs then unwritten; 0 before any search has
///         opened a blob, or with error 12 "GetBlobMoments:#%d of %d"
///
/// The region of interest is put back.
VEXA_API int32_t I_GetBlobMoments2(int32_t blob, int32_t imLabel, int32_t imGrey, VexaPointF *centroid,
                                   double *longAxis, double *shortAxis, double *angle);
/// @}

/// @name Shape
/// @{

/// The number of a blob's pixels that have background to the left, right, above or below, in a window that is one row
/// lower than the blob's box and ends one column earlier.
///
/// The top row of the box is not counted, and its right column counts as background: a blob of one row has 0 edge
/// pixels, one of 3 by 3 has 4, one of 5 by 5 has 10. The label image is read as PIX_BYTE: labels that agree in their
/// low bits are not told apart, and a blob from number 255 on has no pixels there.
///
/// @param blob a negative number counts the edges of everything that is not 0, inside the bounding box of the region
///             of interest
/// @return the count. A bad number, so also a negative one, sets error 12 "GetBlobBoundingBox:#%d of %d" and takes
///         the region's box. 0 for a label image that is not open, or with error 2 and the tag "I_GetBlobEdgeCount".
VEXA_API int32_t I_GetBlobEdgeCount(int32_t blob, int32_t imLabel);

/// A blob's runs as a scan list, the form of a region of interest: pairs of points, first and last pixel of a run, row
/// by row.
///
/// @param points   room for capacity points; null gives 0
/// @param count    receives how many were written, an even number. A list that is too small is cut: capacity - 2
///                 points, or one more or fewer, so that every run has an end.
/// @return 1; or 0 for a label image that is not open, or with error 2 and the tag "GetBlobScanList". A bad number
///         sets error 12 "GetBlobBoundingBox:#%d of %d", searches the whole image for the value blob + 1, and gives 1.
///
/// With I_SetDebug on, a list of fewer than two points is told in a message, with the box of the label image.
VEXA_API int32_t I_GetBlobScanList(int32_t blob, int32_t imLabel, VexaPoint *points, int32_t *count,
                                   int32_t capacity);

/// Makes a blob the region of interest. There is room for five runs a row on average; what is beyond is cut.
///
/// @return the points of the new region; 0 where there are none, the region then as it was
VEXA_API int32_t I_MakeBlobROI(int32_t blob, int32_t imLabel);
/// @}

/// @name Listing
/// @{

/// Shows a table of the first 50 blobs as a message: pixels, means of intensity, x and y, weighted x and y, their
/// differences from the means, box.
///
///     Blob Table Summary: 2 blobs
///     #   #pix  meanI  meanX  meanY  Xwtd  Ywtd  xDiff  yDiff  Box
///     0:  3     2.0    1.3    1.3    1.3   1.3   0.0    0.0    1 1 2 2
///
/// The weighted position is that of I_GetBlobMoments2 where both images are given, and the mean otherwise.
///
/// First, where there is a label image, it is shown by DisplayImage1 at three times its size: normalised, but
/// for its outermost pixels, which are black. Pending errors are presented by I_ShowError with the texts
/// "DisplayBlobTable 2" to "DisplayBlobTable 5" before and after normalising and showing.
///
/// @param imLabel,imGrey the label image and the image to weigh with, or 0
/// @return the number of blobs
VEXA_API int32_t I_DisplayBlobTable(int32_t imLabel, int32_t imGrey);
/// @}

#endif
