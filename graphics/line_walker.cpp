#include "graphics/line_walker.h"

#include <utility>

#include "graphics/clip_line.h"
#include "vexalib/block.h"

namespace vexa
{
namespace
{

struct State {
    int32_t lineColor = 0;
};
constinit State state;

} // namespace

bool clipLineToImage(int32_t im, LineEnd* start, LineEnd* end)
{
    if (im == 0)
        return true;
    int32_t cols = 0;
    int32_t rows = 0;
    if (!I_ImGetSize(&cols, &rows, nullptr, im))
        return false;
    return clipLine({0, 0}, {cols - 1, rows - 1}, start, end);
}

int32_t lineColor()
{
    return state.lineColor;
}

int32_t setLineColor(int32_t color)
{
    return std::exchange(state.lineColor, color);
}

int32_t drawSlopedLine(int32_t im, LineEnd start, LineEnd end)
{
    if (im == 0)
        return 0;
    return walkLine(im, start, end,
                    [im](int32_t x, int32_t y, float, float) { I_PutPixByte(x, y, state.lineColor, im); });
}

} // namespace vexa

int32_t I_GetLineCoords(int32_t im, const VexaPoint* a, const VexaPoint* b, VexaPoint* out)
{
    if (!a || !b || !out)
        return 0;
    const vexa::LineEnd start{static_cast<double>(a->x), static_cast<double>(a->y)};
    const vexa::LineEnd end{static_cast<double>(b->x), static_cast<double>(b->y)};
    return vexa::walkLine(im, start, end, [&out](int32_t x, int32_t y, float, float) { *out++ = {x, y}; });
}
