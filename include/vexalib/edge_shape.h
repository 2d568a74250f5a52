/// Edges around a position on a profile; the boundaries around a place in an image.
///
///     three edges   I_GetEdges
///     five edges    I_GetEdges5
///     a start       I_AdjustStartEdge
///     boundaries    I_EdgeShape
///
/// Positions are those of I_FindEdgeType: floats in sample units, negative where nothing was found.
///
///     float line[200], edges[5];
///     int32_t n = I_GetProfileType(x0, y0, x1, y1, 1, line, 200, im, PIX_FLOAT);
///     I_GetEdges5(line, n, n / 2, 128, edges);
///     if (edges[1] >= 0 && edges[2] >= 0)
///         printf("the line is %.2f samples wide\n", edges[2] - edges[1]);
///
/// The functions on profiles set no error.
#ifndef VEXALIB_EDGE_SHAPE_H
#define VEXALIB_EDGE_SHAPE_H

#include "vexalib/types.h"

/// Three crossings of a level: the nearest one right of a position, or left of it where there is none to the
/// right, and its two neighbours.
///
/// The search begins at trunc(1 + width / 3) for a start below 1 + width / 3, else at the smaller of start
/// and n - width / 3 - 2, truncated. e2 is the crossing found from there; e1 is sought leftward from
/// floor(e2 - 0.01), e3 rightward from ceil(e2 + 0.01), so that a crossing on a sample is not found again.
///
/// @param data     n samples; null finds nothing
/// @param start    below 0: the result is 0.0, the outputs stay
/// @param width    of the edge, in samples
/// @param e1,e2,e3 receive the positions, -1.0 for none; each may be null
/// @return |data[floor(e2)] - data[ceil(e2 + 0.01)]|, the last sample standing in for one behind it; 0.0
///         without a crossing
///
/// With I_SetDebug on, shows "e2 looking left e2=%.1f" and "Done: e1=%.1f e2=%.1f e3=%.1f ctr2=%d ctr3=%d".
VEXA_API float I_GetEdges(const float *data, int32_t n, int32_t start, float width, float level, float *e1,
                          float *e2, float *e3);

/// Five crossings of a level: two left of a position and three right of it. Runs of zeros at both ends of the
/// profile are left out.
///
///     edges[2]  the first one right of start
///     edges[1]  the one left of edges[2]; without edges[2], the first one left of start, a start counted
///               from the first sample that is not 0
///     edges[0]  the one left of edges[1]
///     edges[3]  the one right of edges[2]
///     edges[4]  the one right of edges[3]
///
/// A neighbour of an edge at exactly 0.0 is not looked for.
///
/// @param data  n samples
/// @param edges receives five positions, -1.0 for none
/// @return |edges[1] - start| where edges[1] was found, else |edges[2] - start|, else n. Also n, with no
///         edges, for a start below 1 or not below n, and for null
VEXA_API float I_GetEdges5(const float *data, int32_t n, int32_t start, float level, float *edges);

/// Moves a position at which two profiles lie on different sides of a level to the nearest one where they
/// agree.
///
/// Nothing is moved unless profile a crosses the level between i - 1 and i + 1 for an i from
/// max(start - range + 1, 1) up to but not including min(n - 3, start + range - 1). Then, for each distance
/// from 0 to range - 1, both sides are tried, first the one away from a sample of a at start + distance that
/// lies on the other side of the level.
///
/// @param a,b   n samples each; null returns start
/// @param range below 1 returns start
/// @return the first position, limited to 0 to n - 1, with both profiles on one side of the level and none on
///         it; start without one; 0 for a start not below n
VEXA_API int32_t I_AdjustStartEdge(const float *a, const float *b, int32_t n, int32_t start, float level,
                                   int32_t range);

/// Says what stands in a box of a grey image: how many boundaries, how near, closed or open, which way they
/// run.
///
/// A circle of radius (width + height) / 2 / 2 + margin around the centre of the box, limited to the image,
/// is walked in steps of 0.85 pixel. Each place where its pixels rise from below the threshold to it or
/// above, up to ten of them, begins a boundary, which I_TraceEdge follows inside the circle's bounding box.
/// Where the circle meets none, the line from its lowest to its highest point is walked instead: so a feature
/// wholly inside is found. A boundary that begins more than 3 pixels from where the circle met it is left
/// out, one of fewer than 2 points is not counted.
///
/// The closest boundary is the one whose distance from the centre is the smallest; no distance above the
/// number of its points counts. A boundary is closed if its end lies within 1.5 pixels of its beginning.
/// "Dark" is a pixel below the threshold.
///
/// @param iThresh      grey level from which on a pixel is bright
/// @param box          left, top, right, bottom, all inclusive; null gives 0.0
/// @param margin       of the circle around the box, in pixels
/// @param edges        number of boundaries; negative where two that follow each other on the circle are
///                     parallel: the direction of the one before, forward from its nearest point, less that
///                     of the next, backward from its own, taken as 360 minus itself above 180 and then as
///                     180 minus itself above 90, lies within 10 degrees of 0. 1 where the gap exceeds 2 *
///                     margin
/// @param minsep       gap between the closest boundary and its neighbour, 99999 without one; negative where
///                     the pixel midway is dark. A neighbour with dark between wins over one without. For a
///                     closed boundary its small diameter, negative where its inside is dark, with the
///                     neighbour's sign on top
/// @param width        for a closed boundary its large diameter, negative where its inside is dark. For an
///                     open one the distance from its first point to where it comes nearest again after going
///                     away, or the number of its points; negative where the pixel midway is dark
/// @param direction    of the closest boundary at the point nearest to the centre, in degrees
/// @param angle        180 minus the angle between its directions on both sides of that point, both in the
///                     sense of the walk: 180 for a straight one
/// @param turn         its sharpest turn, in degrees: near that point for a box below 5 by 5, else of all of
///                     it
/// @param closedPoints number of points of a closed boundary, negative where its inside is dark; 0 for an
///                     open one
/// @return the smallest distance from the centre of the box, cut to a whole number, at least 0.1; -1.0
///         without a boundary; 0.0 for an image that is not open, for null and without memory for the
///         circle's pixels
///
/// Any output may be null. edges and minsep are set to 0 first, the others are written where a boundary was
/// found. The region of interest is put back. Presents and clears a pending error with the text "EdgeShape
/// 4". Errors that I_TraceEdge leaves stay; error 2 with the tag "I_EdgeShape" without memory. With
/// I_SetDebug on, shows the line "Edges=%d iThresh=%d, minsep= %.1f, %.1f bDarkLine=%d %d iclose=%d
/// iMinSep=%d", and after each boundary, or where there is none, by DisplayImages(4.0, ..., 32) a copy of the
/// image with the path (253), the boundaries so far (254, 253, ...), and where they were met and begin (252).
VEXA_API float I_EdgeShape(int32_t im, int32_t iThresh, const VexaBox *box, int32_t margin, int32_t *edges,
                           float *minsep, float *width, float *direction, float *angle, float *turn,
                           int32_t *closedPoints);

#endif
