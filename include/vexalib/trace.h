/// Boundaries of bright regions: contours in fractions of a pixel, outlines in whole pixels.
///
///     contours   I_TraceEdge
///     outlines   I_GetPerimeterPts I_GetBlobOutline
///
///     VexaPoint start = {120, 80};
///     int32_t n;
///     VexaPointF *contour = I_TraceEdge(im, 127.5F, &start, NULL, &n, 1);
///     for (int32_t i = 0; i < n; ++i)
///         printf("%.2f %.2f\n", contour[i].x, contour[i].y);
///     vexaFree(contour);
///
/// All work inside the region of interest and read pixels as PIX_BYTE.
#ifndef VEXALIB_TRACE_H
#define VEXALIB_TRACE_H

#include "vexalib/types.h"

/// Follows the contour of a region of pixels at or above a threshold, from pixel to pixel around its inside,
/// and gives for each step the point where the threshold is crossed.
///
/// t is the truncated threshold. The start is moved to 1 pixel from the sides of the region's box. It must be
/// at or above t, with one of its eight neighbours below; otherwise the nearest pixel in the order of
/// I_SpiralOutList is taken that is at or above t, has one of its left, right, upper and lower neighbours
/// below it and does not lie on the box's outermost pixels.
///
/// The eight neighbours are numbered clockwise from the upper right: 0 (1, -1), 1 (1, 0), 2 (1, 1), 3 (0, 1),
/// 4 (-1, 1), 5 (-1, 0), 6 (-1, -1), 7 (0, -1). From the present pixel the neighbours are looked at from (d +
/// 5) % 8 on, d being the number of the last step and 0 at first, for the first pixel at or above t behind
/// one below. That pixel, inside with value vi at (xi, yi), is the next one. With the one below, of value vo
/// at (xo, yo), the contour's point is
///
///     f = (vi - t) / (vi - vo),  (xi * (1 - f) + xo * f, yi * (1 - f) + yo * f)
///
/// The walk ends at its start pixel; at a point that equals the second one exactly, which is then left out;
/// where no neighbour is found; and as stopAtEdge says.
///
///     stopAtEdge   on the outermost pixels of the box
///     non-zero     the contour ends there
///     0            each of them that lies on the same side of t as the pixel one step further inside (at a
///                  corner in both directions) counts as 0: the contour runs along the box. Where it meets
///                  one that is left, "FindNextPt: Cur point (%d,%d) = %d is at edge." is shown, in pixels of
///                  the box, and it ends
///
/// @param start  where to begin, in pixels of the image; receives the pixel where the walk began. Null stands
///               for the corner of the box
/// @param points may be null; receives a block with the whole pixels of the walk, count of them, or null
/// @param count  may be null; receives the number of points, 0 where the result is null
/// @return the points; null where there are none. One more may be read behind the last: the point with which
///         a closed contour would go on, otherwise the last once more. Both blocks are the caller's, to be
///         freed with free or vexaFree
///
/// Errors: that of the lookup; 2 "Create2DArray", "I_SpiralOutList" or "I_TraceEdge" without memory, with
/// null. A start in the box that is no edge leaves, whether or not another is found,
///
///     1 "TraceEdge Thresh=%.1f ptStart=%d %d, xStart=%d %d, x0=%d %d cols=%d %d \r\n%d %d %d\r\n%d %d
///     %d\r\n%d %d %d"
///
/// with the start as given and as moved, in pixels of the box, the box's corner and size, and the nine pixels
/// around. More points than pixels end the walk with 1 "TraceEdge looping? cnt=%d too high. imSize=%dx%d". A
/// box of fewer than 3 columns or rows has no edge.
VEXA_API VexaPointF *I_TraceEdge(int32_t im, float threshold, VexaPoint *start, VexaPoint **points,
                                 int32_t *count, int32_t stopAtEdge);

/// The pixels around a region of pixel values.
///
/// A pixel is inside if I_DualThreshLUT(low, high) has an entry other than 0 for it. The walk begins at the
/// first inside pixel of the region of interest and goes from neighbour to neighbour. The eight neighbours
/// lie on a clockwise ring: 0 upper left, 1 up, 2 upper right, 3 right, 4 lower right, 5 down, 6 lower left,
/// 7 left. With r the one from which the walk came (0 at first), it goes on to the first inside one of
///
///     r even   r + 3, r + 2, r + 5, r + 4, r + 7, r + 6
///     r odd    r + 2, r + 4, r + 3, r + 6, r + 5
///
/// and back to r without one. It ends where it is about to repeat a step, where it would leave the box of the
/// region of interest, whose left side counts as 1 at least, and with the array full. Pixels outside the
/// image read as 0. A region of one pixel gives that pixel and its upper left neighbour.
///
/// @param points   room for maxPoints points; null gives 0
/// @param low,high a band, as I_DualThreshLUT takes it
/// @return the number of points; 0 without any, for an image that is not open (its error is set), and with
///         error 2 and the tag "GetPerimeterPts"
VEXA_API int32_t I_GetPerimeterPts(VexaPoint *points, int32_t maxPoints, int32_t low, int32_t high,
                                   int32_t im);

/// The pixels around a blob: I_GetPerimeterPts in the blob's box, for the label values blob + 1 to blob + 2.
///
/// The next blob's label is thus inside too. A bad number sets error 12 "GetBlobBoundingBox:#%d of %d" and
/// takes the window (0, 0, 639, 439). The region of interest is kept in slot 0 and put back.
///
/// @param imLabel the label image of the search
/// @return as I_GetPerimeterPts
VEXA_API int32_t I_GetBlobOutline(VexaPoint *points, int32_t maxPoints, int32_t imLabel, int32_t blob);

#endif
