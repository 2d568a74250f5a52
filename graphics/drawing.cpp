#include "vexalib/drawing.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "graphics/display_hooks.h"
#include "graphics/line_walker.h"
#include "support/buffer.h"
#include "support/guard.h"
#include "support/numbers.h"
#include "vexalib/block.h"
#include "vexalib/color.h"
#include "vexalib/image.h"
#include "vexalib/numeric.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

struct State {
    int32_t frame = 0;
    int32_t drawColor = 252;
    RectangleHook rectangleHook = nullptr;
};
constinit State state;

struct Size {
    int32_t cols = 0;
    int32_t rows = 0;
    int32_t bytes = 0;
};

bool sizeOf(int32_t im, Size* size)
{
    return I_ImGetSize(&size->cols, &size->rows, &size->bytes, im) && size->cols > 0 && size->rows > 0;
}

// A straight stretch of pixels, width or height of which is 1.
struct Stretch {
    int32_t x;
    int32_t y;
    int32_t width;
    int32_t height;

    int32_t pixels() const { return std::max(width, height); }
};

// Draws in DrawColor; the buffer holds the stretch's pixels.
void drawStretch(const Stretch& s, Buffer<uint8_t>& buffer, int32_t bytes, int32_t im)
{
    const int32_t type = I_ImGetType(im);
    if (state.drawColor >= 0) {
        memsetStruct(buffer.data(), GetRawColor(state.drawColor, im), s.pixels(), bytes);
    } else {
        I_GetBlockType(s.x, s.y, s.width, s.height, buffer.data(), im, type);
        InvertRawLine(buffer.data(), s.pixels(), bytes, im);
    }
    I_PutBlockType(s.x, s.y, s.width, s.height, buffer.data(), im, type);
}

int32_t clampTo(int32_t v, int32_t size)
{
    return std::clamp(v, 0, size - 1);
}

// The pixels of a byte image that is one piece of memory, else null.
uint8_t* bytePixels(int32_t im, const Size& size, int32_t* stride)
{
    if (I_ImGetType(im) != PIX_BYTE)
        return nullptr;
    int32_t bytesLeft = 0;
    auto* pixels = static_cast<uint8_t*>(I_ImGetPtr(0, 0, &bytesLeft, stride, im));
    const int64_t needed = int64_t{*stride} * (size.rows - 1) + size.cols;
    return bytesLeft >= needed ? pixels : nullptr;
}

// Which sides of a rectangle are drawn.
struct Sides {
    bool left;
    bool top;
    bool right;
    bool bottom;
};

// The four sides as bytes, straight into the image.
void fillSides(const VexaBox& box, Sides sides, uint8_t* pixels, int64_t stride, int32_t color)
{
    const auto value = static_cast<uint8_t>(color);
    const int32_t x0 = std::min(box.left, box.right);
    const int32_t x1 = std::max(box.left, box.right);
    const int32_t y0 = std::min(box.top, box.bottom);
    const int32_t y1 = std::max(box.top, box.bottom);
    const auto fillRow = [&](int32_t y) {
        std::memset(pixels + y * stride + x0, value, static_cast<std::size_t>(x1 - x0) + 1);
    };
    const auto fillColumn = [&](int32_t x) {
        for (int32_t y = y0; y <= y1; ++y)
            pixels[y * stride + x] = value;
    };
    if (sides.top)
        fillRow(box.top);
    if (sides.bottom)
        fillRow(box.bottom);
    if (sides.left)
        fillColumn(box.left);
    if (sides.right)
        fillColumn(box.right);
}

void drawSides(const VexaBox& box, Sides sides, int32_t color, int32_t im)
{
    const int32_t previous = std::exchange(state.drawColor, color);
    const Guard restore([previous] { state.drawColor = previous; });
    if (sides.top)
        hline(box.left, box.top, box.right, im);
    if (sides.bottom)
        hline(box.left, box.bottom, box.right, im);
    if (sides.left)
        vline(box.left, box.top, box.bottom, im);
    if (sides.right)
        vline(box.right, box.top, box.bottom, im);
}

} // namespace

RectangleHook setRectangleHook(RectangleHook hook)
{
    return std::exchange(state.rectangleHook, hook);
}

RectangleHook rectangleHook()
{
    return state.rectangleHook;
}

} // namespace vexa

int32_t I_SetGraphicsFrame(int32_t im)
{
    const int32_t former = vexa::state.frame;
    if (I_ImValid(im))
        vexa::state.frame = im;
    else if (!I_ImValid(former))
        vexa::state.frame = 0;
    return former;
}

int32_t I_GetGraphicsFrame()
{
    return I_ImValid(vexa::state.frame) ? vexa::state.frame : 0;
}

int32_t vexaSetDrawColor(int32_t color)
{
    return std::exchange(vexa::state.drawColor, color);
}

int32_t graphputpix(int32_t x, int32_t y, int32_t value)
{
    const int32_t im = I_GetGraphicsFrame();
    return im ? I_PutPixByte(x, y, value, im) : 0;
}

int32_t graphgetpix(int32_t x, int32_t y)
{
    const int32_t im = I_GetGraphicsFrame();
    return im ? I_GetPixByte(x, y, im) : 0;
}

void hline(int32_t x1, int32_t y, int32_t x2, int32_t im)
{
    vexa::Size size;
    if (!vexa::sizeOf(im, &size))
        return;
    const int32_t from = vexa::clampTo(std::min(x1, x2), size.cols);
    const int32_t n = vexa::clampTo(std::max(x1, x2), size.cols) - from + 1;
    vexa::Buffer<uint8_t> buffer(int64_t{n} * size.bytes);
    if (!malloctest(buffer.data(), "hline(%d cols, %d bytes, im %d)", n, size.bytes, im))
        vexa::drawStretch({from, vexa::clampTo(y, size.rows), n, 1}, buffer, size.bytes, im);
}

void vline(int32_t x, int32_t y1, int32_t y2, int32_t im)
{
    vexa::Size size;
    if (!vexa::sizeOf(im, &size))
        return;
    const int32_t from = vexa::clampTo(std::min(y1, y2), size.rows);
    const int32_t n = vexa::clampTo(std::max(y1, y2), size.rows) - from + 1;
    vexa::Buffer<uint8_t> buffer(int64_t{n} * size.bytes);
    if (!malloctest(buffer.data(), "vline(%d cols, %d bytes im %d)", n, size.bytes, im))
        vexa::drawStretch({vexa::clampTo(x, size.cols), from, 1, n}, buffer, size.bytes, im);
}

int32_t I_DrawLine(int32_t im, int32_t x1, int32_t y1, int32_t x2, int32_t y2, int32_t color)
{
    vexa::setLineColor(color);
    // Required: straight lines are drawn in DrawColor, so that the given colour counts on sloped lines only.
    if (y1 == y2) {
        hline(x1, y1, x2, im);
        return vexa::wrapSubtract(x1, x2);
    }
    if (x1 == x2) {
        vline(x1, y1, y2, im);
        return vexa::wrapSubtract(y1, y2);
    }
    return vexa::drawSlopedLine(im, {static_cast<double>(x1), static_cast<double>(y1)},
                                {static_cast<double>(x2), static_cast<double>(y2)});
}

int32_t fdrawline(const VexaPointF* end, const VexaPointF* start, int32_t color)
{
    if (!end || !start)
        return 0;
    vexa::setLineColor(color);
    return vexa::drawSlopedLine(I_GetGraphicsFrame(),
                                {static_cast<double>(start->x), static_cast<double>(start->y)},
                                {static_cast<double>(end->x), static_cast<double>(end->y)});
}

int32_t I_DrawRect(int32_t left, int32_t top, int32_t right, int32_t bottom, int32_t color)
{
    const int32_t im = I_GetGraphicsFrame();
    return im ? I_DrawRect1(left, top, right, bottom, color, im) : 0;
}

int32_t I_DrawRect1(int32_t left, int32_t top, int32_t right, int32_t bottom, int32_t color, int32_t im)
{
    vexa::Size size;
    if (!vexa::sizeOf(im, &size))
        return 0;
    const VexaBox box = {vexa::clampTo(left, size.cols), vexa::clampTo(top, size.rows),
                         vexa::clampTo(right, size.cols), vexa::clampTo(bottom, size.rows)};
    const vexa::RectangleHook hook = vexa::rectangleHook();
    if (hook && hook(box.left, box.top, box.right, box.bottom, color, im))
        return 1;
    // Only the near sides are tested against 0 and only the far sides against the size.
    const vexa::Sides sides = {left >= 0, top >= 0, right < size.cols, bottom < size.rows};
    int32_t stride = 0;
    if (uint8_t* pixels = color >= 0 ? vexa::bytePixels(im, size, &stride) : nullptr)
        vexa::fillSides(box, sides, pixels, stride, color);
    else
        vexa::drawSides(box, sides, color, im);
    return 1;
}
