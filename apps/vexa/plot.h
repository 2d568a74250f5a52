// A curve with its axes, as a picture.
#ifndef VEXA_APPS_PLOT_H
#define VEXA_APPS_PLOT_H

#include <vector>

#include "image.h"

namespace app
{

struct CurvePoint {
    double x;
    double y;
};

// The points joined by lines, x rising; ticks, their numbers and a grid on both axes. At least one point.
Pixels plotCurve(const std::vector<CurvePoint>& curve);

} // namespace app

#endif
