/// Defect listing: from a difference image to a list of places, the worst first.
///
///     I_ListDefects
///
/// Example: the ten worst defects, no two of them nearer than 15 pixels.
///
///     VexaPoint places[10];
///     double areas[10];
///     I_SetClipMode(3); // differences around 128
///     I_Subtract(imDef, imRef, imDiff, 0, 0);
///     int32_t n = I_ListDefects(imDiff, places, areas, 10, 15, 20.0, 0);
#ifndef VEXALIB_DEFECTS_H
#define VEXALIB_DEFECTS_H

#include "vexalib/types.h"

/// Lists the bright spots of a difference image: one entry for each blob at or above the threshold, thinned out and
/// sorted.
///
/// How the image is read depends on the clip mode that it was made with, which must still be in force:
///
///     clip mode   difference 0   selected with a threshold of 10    searched by
///     3           128            up to 118 and from 138             I_FindBlobs1(128 + threshold, 128 - threshold)
///     4           128            up to 123 and from 133             the same with half the threshold
///     others      0              from 10                            I_FindBlobs1(threshold, 256)
///
/// For each blob, with g the value of difference 0, area = |sum - pixels * g| / 50 and
/// intensity = |sum / pixels - g|, the quotient of integers cut to one. Of two blobs whose first pixels are nearer
/// than minDist the one with the smaller area goes, of equals the earlier one; one that is gone still removes others
/// near it. A blob with an area of 0 ends the list.
///
/// @param imDiff     the difference image; searched inside the region of interest
/// @param positions  receives the blobs' first pixels; may be null
/// @param values     receives the intensity of each entry, or with sortMode 0 its area; may be null
/// @param maxDefects room in both; 0 or less lists nothing
/// @param minDist    in pixels; 0 or less keeps all
/// @param threshold  in grey levels
/// @param sortMode   2 sorts by intensity, everything else by area, the largest first, equals in blob order
/// @return the number of entries; 0 without any, for an image that is not open, or with error 2 and the tag
///         "I_ListDefects"
///
/// Replaces the blob table; clears any pending error, also one that the search left.
VEXA_API int32_t I_ListDefects(int32_t imDiff, VexaPoint *positions, double *values, int32_t maxDefects,
                               int32_t minDist, double threshold, int32_t sortMode);

#endif
