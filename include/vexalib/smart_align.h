/// Smart alignment: the shift between two images of one scene, found with as little work as can be.
///
///     I_SmartAlign FindClosestEdge
///
/// Example: the shift between a defect image and its reference, at most 20 pixels each way.
///
///     float dx = 0, dy = 0, qualityX, qualityY;
///     I_SmartAlign(imDef, imRef, NULL, NULL, 20, &dx, &dy, &qualityX, &qualityY);
///     if (qualityX > 0.85f && qualityY > 0.85f)
///         I_Subtract1Ex(imDef, imRef, imDiff, dx, dy, 3, 0.0f, NULL);
#ifndef VEXALIB_SMART_ALIGN_H
#define VEXALIB_SMART_ALIGN_H

#include "vexalib/types.h"

/// Finds the shift between two images on a strong vertical and a strong horizontal edge near a centre.
///
/// With S = max(20, 3 * maxShift), tried in this order until both axes that have an edge of 4 or more reach a quality
/// of 0.85:
///
///     both axes      I_ImageAlign1D over the box that holds both edges, if they are at most S apart
///     x, then y      I_ImageAlign1D over a box of S by S / 4 at the vertical edge, of S / 4 by S at the horizontal one
///     two dimensions I_WindowSearch of that box of imRef, 8 pixels larger, over maxShift more each way
///
/// @param box         left, top, right, bottom inside imRef: edges are looked for outside it, around its middle; null,
///                    or a right below 1, stands for the middle of the image
/// @param outBox      receives the box that was used; untouched where no step ran; may be null
/// @param maxShift    in pixels; below 1 it is 1, and "I_SmartAlign: maxshift=%d; setting it to 1." is posted
/// @param dx,dy       the starting offset, and the result: imDef at (x, y) corresponds to imRef at (x + dx, y + dy).
///                    After the two-dimensional search the offset is the one of the search, whatever its quality
/// @param qualX,qualY receive the qualities: 0 where nothing ran
/// @return 1
///
/// Errors of the stages are shown by I_ShowError, with the stage's own words. With I_SetDebug on, each stage tells its
/// results in a message, and DisplayImages shows the difference of both images at the starting offset with the boxes of
/// the vertical edge (253), the horizontal edge (254) and both (252).
VEXA_API int32_t I_SmartAlign(int32_t imDef, int32_t imRef, VexaBox *box, VexaBox *outBox, int32_t maxShift,
                              float *dx, float *dy, float *qualX, float *qualY);

/// The best pixels to measure x and y on, as near to a centre as they can be had.
///
/// In rounds of a radius of 30, 90, 270, ... pixels, each pixel has gx = |p - right neighbour|, gy = |p - lower
/// neighbour|, and the scores gx * w * a and gy * w * a, with w = 2 * radius - distance from the centre, and where
/// gx is not 0 a = |gx - gy| / (gx + gy) in hundredths.
///
/// @param box         edges inside it do not count; its middle is the centre. Null or a right of 0 or less: none, and
///                    the image's middle
/// @param minSlope    the rounds end when both slopes reach it; below 2 it is 45
/// @param xPeak,yPeak receive the pixels of the best scores; may be null
/// @param xSlope      receives gx at xPeak; may be null
/// @param ySlope      receives gy at yPeak; may be null
/// @return the smaller slope; 0 if the image has no size
VEXA_API int32_t FindClosestEdge(int32_t im, VexaBox *box, int32_t minSlope, VexaPoint *xPeak,
                                 VexaPoint *yPeak, int32_t *xSlope, int32_t *ySlope);

#endif
