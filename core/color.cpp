#include "vexalib/color.h"

#include <algorithm>

#include "core/color_convert.h"
#include "core/display_state.h"
#include "core/image_table.h"
#include "support/guard.h"
#include "vexalib/image.h"
#include "vexalib/lut.h"

namespace vexa
{
namespace
{

constexpr int32_t kNoBand = -2;
constexpr int32_t kAllBands = 3;

struct State {
    int32_t processingMode = kAllBands;
    int32_t savedMode = kAllBands;
    int32_t statsMode = kNoBand;
    int32_t band = kNoBand;
    int32_t background = 0;
};
State state;

// The display tables, made at first need; null where there is no memory for them.
const DisplayTables* displayTables()
{
    if (!displayState().tables)
        I_GetGraphicsPalette(nullptr, nullptr, nullptr);
    return displayState().tables;
}

void store(int32_t* out, int32_t value)
{
    if (out)
        *out = value;
}

} // namespace

int32_t statsProcMode()
{
    return state.statsMode;
}

} // namespace vexa

using namespace vexa;

void I_SetColorProcMode(int32_t mode)
{
    state.processingMode = mode;
}

int32_t I_GetColorProcMode()
{
    return state.processingMode;
}

void I_ResetColorProcMode()
{
    state.processingMode = state.savedMode;
}

void I_SetStatsProcMode(int32_t mode)
{
    state.statsMode = mode;
    state.savedMode = state.processingMode;
    state.processingMode = mode == -3 || mode == -2 || mode == 0 || mode == 2 ? mode : 1;
}

void I_SetColorBand(int32_t band)
{
    // 252 to 254 are the palette entries of the graphics colours red, green and blue.
    const int32_t selected = band >= 252 ? band - 252 : band;
    state.band = selected >= 0 && selected <= 2 ? selected : kNoBand;
}

int32_t I_GetColorBand()
{
    return state.processingMode < kAllBands ? state.processingMode : state.band;
}

int32_t ClosestRGB(int32_t red, int32_t green, int32_t blue, int32_t* redError, int32_t* greenError,
                   int32_t* blueError)
{
    red = std::clamp(red, 0, 247);
    green = std::clamp(green, 0, 247);
    blue = std::clamp(blue, 0, 243);
    const DisplayTables* tables = displayTables();
    const auto corrected = [=](int32_t value) { return tables ? tables->gamma[value] : value; };
    const int32_t entry = (corrected(green) & 224) + ((corrected(red) >> 3) & 28) + (corrected(blue) >> 6);
    store(redError, red - (tables ? tables->red[entry] : entry));
    store(greenError, green - (tables ? tables->green[entry] : entry));
    store(blueError, blue - (tables ? tables->blue[entry] : entry));
    return entry;
}

int32_t make332colorluts()
{
    uint8_t gamma[256];
    I_MakeGammaLUT(gamma, 1.0 / I_GetGammaCRT());
    uint8_t first[256];
    uint8_t second[256];
    uint8_t third[256];
    for (int32_t i = 0; i < 256; ++i) {
        first[i] = gamma[i & 224];
        second[i] = gamma[(i & 28) * 8];
        third[i] = gamma[(i & 3) << 6];
    }
    int32_t& colorMode = displayState().colorMode;
    const Guard restore([&colorMode, mode = colorMode] { colorMode = mode; });
    colorMode = 0; // no entry is reserved
    return I_SetDisplayLUTs(first, second, third);
}

int32_t I_ApplyPalette(const uint8_t* red, const uint8_t* green, const uint8_t* blue, int32_t im)
{
    if (im == 0)
        return 0;
    ImageRecord* record = findImageRecord(im, "ApplyPalette");
    if (!record || (record->type != PIX_BYTE && record->type != PIX_PALETTE) || !red || !green || !blue)
        return 0;
    uint8_t palette[1024] = {};
    for (int32_t i = 0; i < 256; ++i) {
        palette[4 * i] = blue[i];
        palette[4 * i + 1] = green[i];
        palette[4 * i + 2] = red[i];
    }
    record->type = PIX_PALETTE;
    return I_ImSetParam(palette, sizeof palette, 13, im);
}

int32_t I_SetBgrndColor(int32_t color)
{
    const int32_t previous = state.background;
    if (color > -2)
        state.background = color;
    return previous;
}

int32_t I_GetBgrndColor()
{
    return state.background;
}
