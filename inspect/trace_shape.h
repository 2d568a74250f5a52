// Turns and directions of lists of points.
#ifndef VEXA_INSPECT_TRACE_SHAPE_H
#define VEXA_INSPECT_TRACE_SHAPE_H

#include <cstdint>

#include "support/buffer.h"
#include "vexalib/types.h"

namespace vexa
{

inline constexpr double kPi = 3.14159265358979323846;
inline constexpr double kDegrees = 180.0 / kPi;

double distance(VexaPointF a, VexaPointF b);

// The points of a circle at about a spacing, with the first one again behind the last; empty where there are none or
// no memory for them.
Buffer<VexaPointF> circlePoints(double x, double y, double radius, double spacing);

// The sharpest turn between steps that follow each other, in radians, 0 to pi; 0 for less than three points.
float sharpestTurn(const VexaPointF* points, int32_t n);

// The direction in which a list of points runs on from an index, forward or backward, once it runs straight: in
// radians, from 0 to 2 pi; 0 for less than four points.
double traceDirection(const VexaPointF* points, int32_t n, int32_t from, bool backward);

} // namespace vexa

#endif
