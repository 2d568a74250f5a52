/// Edges around a position on a profile.
///
///     three edges   I_GetEdges
///     five edges    I_GetEdges5
///     a start       I_AdjustStartEdge
///
/// Positions are those of I_FindEdgeType: floats in sample units, negative where nothing was found.
///
///     float line[200], edges[5];
///     int32_t n = I_GetProfileType(x0, y0, x1, y1, 1, line, 200, im, PIX_FLOAT);
///     I_GetEdges5(line, n, n / 2, 128, edges);
///     if (edges[1] >= 0 && edges[2] >= 0)
///         printf("the line is %.2f samples wide\n", edges[2] - edges[1]);
///
/// None of these sets an error.
#ifndef VEXALIB_EDGE_SHAPE_H
#define VEXALIB_EDGE_SHAPE_H

#include "vexalib/types.h"

/// Three crossings of a level: the nearest one right of a position, or left of it where there is none to the
/// right, and its two neighbours.
///
/// The search begins at trunc(1 + width / 3) for a start below 1 + width / 3, else at the smaller of start and
/// n - width / 3 - 2, truncated. e2 is the crossing found from there; e1 is sought leftward from
/// floor(e2 - 0.01), e3 rightward from ceil(e2 + 0.01), so that a crossing on a sample is not found again.
///
/// @param data     n samples; null finds nothing
/// @param start    below 0: the result is 0.0, the outputs stay
/// @param width    of the edge, in samples
/// @param e1,e2,e3 receive the positions, -1.0 for none; each may be null
/// @return |data[floor(e2)] - data[ceil(e2 + 0.01)]|, the last sample standing in for one behind it; 0.0 without
///         a crossing
///
/// With I_SetDebug on, shows "e2 looking left e2=%.1f" and "Done: e1=%.1f e2=%.1f e3=%.1f ctr2=%d ctr3=%d".
VEXA_API float I_GetEdges(const float *data, int32_t n, int32_t start, float width, float level, float *e1,
                          float *e2, float *e3);

/// Five crossings of a level: two left of a position and three right of it. Runs of zeros at both ends of the
/// profile are left out.
///
///     edges[2]  the first one right of start
///     edges[1]  the one left of edges[2]; without edges[2], the first one left of start, a start counted from
///               the first sample that is not 0
///     edges[0]  the one left of edges[1]
///     edges[3]  the one right of edges[2]
///     edges[4]  the one right of edges[3]
///
/// A neighbour of an edge at exactly 0.0 is not looked for.
///
/// @param data  n samples
/// @param edges receives five positions, -1.0 for none
/// @return |edges[1] - start| where edges[1] was found, else |edges[2] - start|, else n. Also n, with no edges,
///         for a start below 1 or not below n, and for null
VEXA_API float I_GetEdges5(const float *data, int32_t n, int32_t start, float level, float *edges);

/// Moves a position at which two profiles lie on different sides of a level to the nearest one where they agree.
///
/// Nothing is moved unless profile a crosses the level between i - 1 and i + 1 for an i from
/// max(start - range + 1, 1) up to but not including min(n - 3, start + range - 1). Then, for each distance from
/// 0 to range - 1, both sides are tried, first the one away from a sample of a at start + distance that lies on
/// the other side of the level.
///
/// @param a,b   n samples each; null returns start
/// @param range below 1 returns start
/// @return the first position, limited to 0 to n - 1, with both profiles on one side of the level and none on it;
///         start without one; 0 for a start not below n
VEXA_API int32_t I_AdjustStartEdge(const float *a, const float *b, int32_t n, int32_t start, float level,
                                   int32_t range);

#endif
