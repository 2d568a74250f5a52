// The line that all sloped drawing and all profiles walk along.
#ifndef VEXA_GRAPHICS_LINE_WALKER_H
#define VEXA_GRAPHICS_LINE_WALKER_H

#include <cstdint>

#include "support/line_steps.h"
#include "vexalib/drawing.h"
#include "vexalib/image.h"

namespace vexa
{

struct LineEnd {
    double x;
    double y;
};

// Limits the line to the image. True: a part of it is left. Image 0 limits nothing.
bool clipLineToImage(int32_t im, LineEnd* start, LineEnd* end);

// Calls visit(x, y, exactX, exactY) for each pixel of a line from start to end, both ends included: the
// integer coordinates, and the same with the fraction of the coordinate across the line (in units of 1/2048,
// the half that rounds included). The line is limited to the image first, if there is one. The result is the
// number of visits.
template <typename Visit>
int32_t walkLine(int32_t im, LineEnd start, LineEnd end, Visit visit)
{
    if (!clipLineToImage(im, &start, &end))
        return 0;
    if (start.x == end.x && start.y == end.y) {
        visit(truncToInt32(start.x), truncToInt32(start.y), static_cast<float>(start.x),
              static_cast<float>(start.y));
        return 1;
    }
    const LineSteps steps(start.x, start.y, end.x, end.y);
    for (int64_t k = 0; k < steps.count(); ++k) {
        constexpr float kUnit = 0.00048828125F;
        const auto major = static_cast<float>(steps.major(k));
        const float minor = static_cast<float>(steps.minorFixed(k)) * kUnit;
        visit(static_cast<int32_t>(steps.x(k)), static_cast<int32_t>(steps.y(k)),
              steps.alongX() ? major : minor, steps.alongX() ? minor : major);
    }
    return saturateToInt32(steps.count());
}

// The colour of sloped lines; each returns the one before.
int32_t lineColor();
int32_t setLineColor(int32_t color);

// A line in the line colour, pixel by pixel through I_PutPixByte; the result is the number of pixels.
int32_t drawSlopedLine(int32_t im, LineEnd start, LineEnd end);

} // namespace vexa

#endif
