#include <cstring>

#include "core/display_state.h"
#include "core/pixel_types.h"
#include "vexalib/block.h"
#include "vexalib/color.h"
#include "vexalib/image.h"

namespace vexa
{
namespace
{

constexpr int32_t kPixelBytes = 16; // of the widest type

struct State {
    uint8_t rgbPixel[kPixelBytes] = {};   // what GetRawColorRGB handed out last
    uint8_t colorPixel[kPixelBytes] = {}; // what GetRawColor handed out last, and for what
    int32_t image = 0;
    int32_t type = 0;
    int32_t color = 0;
};
State state;

// Writes the colour into pixel (0, 0), reads what became of it, and puts the pixel back.
void throughFirstPixel(int32_t rgb, int32_t im, int32_t type, uint8_t* raw)
{
    uint8_t kept[kPixelBytes] = {};
    const uint8_t color[] = {static_cast<uint8_t>(rgb), static_cast<uint8_t>(rgb >> 8),
                             static_cast<uint8_t>(rgb >> 16)};
    if (!I_GetBlockType(0, 0, 1, 1, kept, im, type))
        return;
    I_PutBlockType(0, 0, 1, 1, color, im, PIX_BGR24);
    I_GetBlockType(0, 0, 1, 1, raw, im, type);
    I_PutBlockType(0, 0, 1, 1, kept, im, type);
}

int32_t displayedColor(int32_t color)
{
    const auto entry = static_cast<uint8_t>(color);
    const DisplayTables* tables = displayState().tables;
    return tables ? tables->red[entry] << 16 | tables->green[entry] << 8 | tables->blue[entry]
                  : entry * 0x010101;
}

} // namespace
} // namespace vexa

using namespace vexa;

uint8_t* GetRawColor(int32_t color, int32_t im)
{
    if (color < 0)
        return GetRawColorRGB(I_GetBgrndColor(), im);
    const int32_t type = I_ImGetType(im);
    if (type == 0)
        return nullptr;
    // Required: the same image and colour as before give the same bytes, whatever became of the display tables.
    if (im == state.image && color == state.color && type == state.type)
        return state.colorPixel;
    if (type == PIX_BYTE)
        std::memset(state.colorPixel, static_cast<uint8_t>(color), 1);
    else
        std::memcpy(state.colorPixel, GetRawColorRGB(displayedColor(color), im), kPixelBytes);
    state.image = im;
    state.type = type;
    state.color = color;
    return state.colorPixel;
}

uint8_t* GetRawColorRGB(int32_t rgb, int32_t im)
{
    const int32_t type = I_ImGetType(im);
    if (type == 0)
        return nullptr;
    uint8_t* raw = state.rgbPixel;
    std::memset(raw, 0, kPixelBytes);
    const auto red = static_cast<uint8_t>(rgb >> 16);
    const auto green = static_cast<uint8_t>(rgb >> 8);
    const auto blue = static_cast<uint8_t>(rgb);
    if (type == PIX_BYTE)
        raw[0] = blue;
    else if (type > PIX_PALETTE)
        PlanarToPacked(raw, type, nullptr, &red, &green, &blue, 1);
    else
        throughFirstPixel(rgb, im, type, raw);
    return raw;
}

void InvertRawLine(void* buffer, int32_t n, int32_t bytes, int32_t im)
{
    if (!buffer || n < 1)
        return;
    if (bytes == 0)
        I_ImGetSize(nullptr, nullptr, &bytes, im);
    auto* pixels = static_cast<uint8_t*>(buffer);
    if (bytes == 1 || bytes == 3 || bytes == 4) {
        for (int64_t i = 0; i < int64_t{n} * bytes; ++i)
            pixels[i] ^= 128;
    } else if (bytes == 2) {
        const uint8_t* middle = GetRawColorRGB(0x808080, im);
        for (int64_t i = 0; middle && i < int64_t{n} * 2; ++i)
            pixels[i] ^= middle[i & 1];
    }
}
