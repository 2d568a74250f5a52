/// Defect listing: from a difference image to a list of places, the worst first.
///
///     short     I_ListDefects
///     careful   I_ListDefects3 I_ListDefects2 I_ListDefects1
///     before    I_BlackenBraille
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

/// The careful list: spots are grouped, the images re-aligned around each, the difference there made anew and measured,
/// neighbours merged, small ones left out.
///
/// The clip mode tells how the difference is coded, as for I_ListDefects; with 4 the threshold is halved. With
/// dil = 2 * mergeRange / 8 and M = 2 * mergeRange - 2 * dil, divisions cut to integers:
///
///     mergeRange   3   4   8
///     dil          0   1   2    spots grow by it before they are grouped
///     M            6   6   12   boxes at most so far apart merge, if they overlap or are in line
///
/// Of each spot, over its box and a margin (alignRange - dil, between 1 and 50; with a re-alignment 2):
///
///     peak     largest difference
///     area     pixels at or above the threshold; 0 if the peak is below it
///     energy   sqrt(sum of differences / 180)
///
/// A box of more than 0.3 of the image's width or height does not merge. A merged one has the larger peak, the sum of the
/// areas, the root of the sum of the squared energies.
///
/// @param imDef,imRef the images; read only with an alignRange above 0
/// @param imDiff     their difference, searched inside the region of interest. It is made anew around each spot; a
///                   difference in colour becomes one grey value
/// @param positions  receives the first pixel of each spot, moved by dil + 1 each way; may be null
/// @param boxes      receives the boxes, without the growth; may be null
/// @param values     receives, for every entry, the energy of the spot that was measured last; may be null
/// @param maxDefects room in all three; 0 or less lists nothing
/// @param reserved   not read
/// @param threshold  in grey levels
/// @param minSize    at 0 or above, the least energy of an entry, and with dil above 0 spots of at most minSize^2
///                   pixels do not grow; below 0, -minSize is the root of the least area, and -minSize pixels the
///                   spots that do not grow
/// @param sortMode   0 keeps the order of the blobs; 2 sorts by peak, others by area, the largest first
/// @param alignRange the largest shift looked for around each spot; 0 or less: no re-alignment
/// @param mergeRange see above
/// @return the number of entries; 0 without any, for an imDiff that is not open (20 or 24), without memory (2)
///
/// At most 20000 blobs count; I_SetBlobTableSize is set to that. Replaces the blob table, clears any pending error
/// that the search left. Progress is told under "ListDefects ...". With the debug flag on the list is posted.
VEXA_API int32_t I_ListDefects3(int32_t imDef, int32_t imRef, int32_t imDiff, VexaPoint *positions,
                                VexaBox *boxes, double *values, int32_t maxDefects, int32_t reserved,
                                float threshold, float minSize, int32_t sortMode, int32_t alignRange,
                                int32_t mergeRange);
/// I_ListDefects3 without boxes.
VEXA_API int32_t I_ListDefects2(int32_t imDef, int32_t imRef, int32_t imDiff, VexaPoint *positions,
                                double *values, int32_t maxDefects, int32_t reserved, float threshold,
                                float minSize, int32_t sortMode, int32_t alignRange, int32_t mergeRange);
/// I_ListDefects2 with a mergeRange of 3.
VEXA_API int32_t I_ListDefects1(int32_t imDef, int32_t imRef, int32_t imDiff, VexaPoint *positions,
                                double *values, int32_t maxDefects, int32_t reserved, float threshold,
                                float minSize, int32_t sortMode, int32_t alignRange);

/// Paints over the dots of an embossed marking, so that they do not count as defects: the image, reduced by
/// dotSize / 4, is displaced by 0.8 dots and subtracted from itself, and every spot of that becomes a black disc.
///
/// @param im          changed inside the region of interest
/// @param dotSize     diameter of the dots in pixels; below 1 it is 15
/// @param orientation 1 or 90: displaced downward; 2 or 180: to the right; 3 or 270: upward; others: to the left
/// @param iThresh     threshold of the spots in the normalised difference, limited to 0 to 255; above 25 a spot
///                    must also be small
/// @return the number of discs; 0 where the difference spans less than 25 grey levels, and on failure
///
/// Reads the clip mode; replaces the blob table.
VEXA_API int32_t I_BlackenBraille(int32_t im, int32_t dotSize, int32_t orientation, int32_t iThresh);

#endif
