// Grey levels as colours, and colours back to grey levels.
#include <algorithm>
#include <array>

#include "core/display_state.h"
#include "core/image_table.h"
#include "core/pixel_types.h"
#include "vexalib/block.h"
#include "vexalib/color.h"
#include "vexalib/lut.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

using Rgb = std::array<uint8_t, 3>;

constexpr Rgb kSteps[] = {{0, 0, 255}, {0, 255, 255}, {0, 255, 0}, {255, 255, 0}, {255, 0, 0}, {255, 0, 255}};
constexpr Rgb kBlack = {0, 0, 0};
constexpr Rgb kAboveRange = kSteps[4];

// A linear blend from each step to the next, over bands of a quarter of the range.
Rgb smoothColor(int64_t offset, int64_t range)
{
    const int64_t band = range / 4;
    const auto segment = static_cast<std::size_t>(offset / band % 6);
    const Rgb& from = kSteps[segment];
    const Rgb& to = kSteps[(segment + 1) % 6];
    const int64_t fraction = offset % band * 128 / band;
    Rgb color{};
    for (std::size_t c = 0; c < 3; ++c)
        color[c] = static_cast<uint8_t>((((to[c] * fraction + from[c] * (128 - fraction)) * 255) >> 7) / 255);
    return color;
}

Rgb steppedColor(int64_t offset, int64_t range)
{
    return kSteps[offset * 5 / range % 5];
}

// Copies the colours of an image into an empty palette clone and relabels the indices as grey levels.
bool copyAsIndices(int32_t imColor, int32_t imClone)
{
    if (I_ImageCopy(imColor, imClone) == 0)
        return false;
    const int32_t type = PIX_BYTE;
    return I_ImSetParam(&type, sizeof type, 1, imClone) != 0;
}

} // namespace
} // namespace vexa

int32_t I_FalseColorLUT(int32_t low, int32_t high, uint8_t* red, uint8_t* green, uint8_t* blue, int32_t wrap,
                        int32_t smooth)
{
    using vexa::Rgb;
    if (low >= high || !red || !green || !blue)
        return I_SetError(12, "falsecolor");
    low = std::min(low, 254);
    const int64_t range = std::max<int64_t>(int64_t{high} - low, 5);
    for (int32_t i = 0; i < 256; ++i) {
        const int64_t offset = int64_t{i} - low;
        Rgb color = vexa::kBlack;
        if (wrap == 0 && i > high)
            color = vexa::kAboveRange;
        else if (offset >= 0)
            color = smooth != 0 ? vexa::smoothColor(offset, range) : vexa::steppedColor(offset, range);
        red[i] = color[0];
        green[i] = color[1];
        blue[i] = color[2];
    }
    if (vexa::displayState().colorMode != 0) {
        vexa::writeGraphicsColors(red, green, blue);
        green[254] = 0; // Required: entry 254 is blue here, cyan in the display palette.
        blue[254] = 255;
    }
    return 5;
}

int32_t I_FalseColorToGray(int32_t im)
{
    if (I_ImGetType(im) <= PIX_PALETTE)
        return I_CloneImage(im, PIX_BYTE, 1);
    uint8_t red[256];
    uint8_t green[256];
    uint8_t blue[256];
    I_FalseColorLUT(0, 256, red, green, blue, 0, 1);
    vexa::ImageGuard clone(I_CloneImage(im, PIX_PALETTE, 0));
    if (clone.get() == 0)
        return 0;
    I_ApplyPalette(red, green, blue, clone.get());
    return vexa::copyAsIndices(im, clone.get()) ? clone.release() : 0;
}
