// Test charts for displays.
#include <algorithm>

#include "support/buffer.h"
#include "support/numbers.h"
#include "vexalib/block.h"
#include "vexalib/drawing.h"
#include "vexalib/image.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

// The part of a chart that lies on the graphics frame, and the chart's own size.
struct Area {
    int32_t im;
    VexaBox visible;
    int64_t width;
    int64_t height;
};

bool areaOnFrame(const VexaBox& box, Area* area)
{
    int32_t cols = 0;
    int32_t rows = 0;
    area->im = I_GetGraphicsFrame();
    if (area->im == 0 || !I_ImGetSize(&cols, &rows, nullptr, area->im))
        return false;
    area->visible = {std::max(box.left, 0), std::max(box.top, 0), std::min(box.right, cols - 1),
                     std::min(box.bottom, rows - 1)};
    area->width = int64_t{box.right} - box.left + 1;
    area->height = int64_t{box.bottom} - box.top + 1;
    return area->visible.left <= area->visible.right && area->visible.top <= area->visible.bottom;
}

// Paints value(column, row), both counted from the chart's corner and limited to a byte.
template <typename Value>
void paint(const Area& area, const VexaBox& box, const char* tag, Value value)
{
    const int32_t n = area.visible.right - area.visible.left + 1;
    Buffer<uint8_t> line(n);
    if (malloctest(line.data(), "%s", tag))
        return;
    for (int32_t y = area.visible.top; y <= area.visible.bottom; ++y) {
        for (int32_t i = 0; i < n; ++i) {
            const int64_t column = int64_t{area.visible.left} - box.left + i;
            line[i] = static_cast<uint8_t>(std::clamp<int64_t>(value(column, int64_t{y} - box.top), 0, 255));
        }
        I_PutBlockType(area.visible.left, y, n, 1, line.data(), area.im, PIX_BYTE);
    }
}

// Rows 20 to 29 of each 30 mix black with twice the grey, so that at the right gamma they look like the plain
// ramp: in stripes of columns, and in the next 30 in stripes of rows.
int64_t mixedGrey(int64_t ramp, int64_t column, int64_t row)
{
    if (row % 60 < 30)
        return column % 2 == 0 ? 2 * ramp : 0;
    if (row % 10 == 9)
        return ramp / 2;
    if (row % 2 != 0)
        return 0;
    return row % 10 == 0 ? ramp * 3 / 2 : 2 * ramp;
}

int64_t gammaGrey(int64_t width, int64_t column, int64_t row)
{
    const int64_t ramp = 128 - column * 129 / width;
    const int64_t grey = std::min<int64_t>(row % 30 < 20 ? ramp : mixedGrey(ramp, column, row), 255);
    const bool inverted = row >= 20 && (row - 20) / 60 % 2 == 1;
    return inverted ? 255 - grey : grey;
}

} // namespace
} // namespace vexa

void drawgammacal(int32_t left, int32_t top, int32_t right, int32_t bottom)
{
    const VexaBox box = {left, top, right, bottom};
    vexa::Area area;
    if (vexa::areaOnFrame(box, &area))
        vexa::paint(area, box, "drawgammacal", [&area](int64_t column, int64_t row) {
            return vexa::gammaGrey(area.width, column, row);
        });
}

void drawgrayramp(int32_t left, int32_t top, int32_t right, int32_t bottom, double /*low*/, double /*high*/,
                  int32_t steps, int32_t textColor, int32_t /*fieldWidth*/, int32_t /*decimals*/,
                  const char* /*unit*/)
{
    const VexaBox box = {left, top, right, bottom};
    vexa::Area area;
    if (!vexa::areaOnFrame(box, &area))
        return;
    constexpr int64_t kGreys = 256;
    const int64_t bars = steps > 1 ? std::min<int64_t>(steps, kGreys) : kGreys;
    vexa::paint(area, box, "drawgrayramp", [&area, bars](int64_t column, int64_t) {
        return column * bars / area.width * 255 / (bars - 1);
    });
    I_DrawRect(left, top, right, bottom, textColor);
}
