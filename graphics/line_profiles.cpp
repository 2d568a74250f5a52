// Pixels along a drawn line.
#include "core/color_convert.h"
#include "core/image_table.h"
#include "graphics/line_walker.h"
#include "support/guard.h"
#include "support/numbers.h"
#include "vexalib/block.h"
#include "vexalib/color.h"
#include "vexalib/profile.h"

namespace vexa
{
namespace
{

template <typename Point>
LineEnd asEnd(const Point& p)
{
    return {static_cast<double>(p.x), static_cast<double>(p.y)};
}

} // namespace
} // namespace vexa

using namespace vexa;

int32_t I_GetLineFCoords(int32_t im, const VexaPointF* start, const VexaPointF* end, VexaPointF* out)
{
    if (!start || !end || !out)
        return 0;
    return walkLine(im, asEnd(*start), asEnd(*end), [&out](int32_t, int32_t, float x, float y) {
        *out++ = {x, y};
    });
}

int32_t I_GetLineProfile(int32_t im, const VexaPoint* start, const VexaPoint* end, uint8_t* bytes)
{
    if (!findImageRecord(im, "I_ImGetSize") || !start || !end || !bytes)
        return 0;
    I_SetStatsProcMode(statsProcMode());
    const Guard restore([] { I_ResetColorProcMode(); });
    return walkLine(im, asEnd(*start), asEnd(*end), [&bytes, im](int32_t x, int32_t y, float, float) {
        *bytes++ = static_cast<uint8_t>(truncToInt32(I_GetPix(x, y, im)));
    });
}

int32_t I_PutLineProfile(int32_t im, const VexaPoint* start, const VexaPoint* end, const uint8_t* bytes)
{
    if (!findImageRecord(im, "I_ImGetSize") || !start || !end || !bytes)
        return 0;
    return walkLine(im, asEnd(*start), asEnd(*end),
                    [&bytes, im](int32_t x, int32_t y, float, float) { I_PutPixByte(x, y, *bytes++, im); });
}
