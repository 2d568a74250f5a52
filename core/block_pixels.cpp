#include "core/image_table.h"
#include "vexalib/block.h"
#include "vexalib/color.h"
#include "vexalib/image.h"

namespace vexa
{
namespace
{

constexpr std::size_t kMostPixelBytes = 16;

// One pixel in a given type; outside the image the buffer stays as it is.
void readPixel(int32_t x, int32_t y, void* pixel, int32_t im, int32_t type)
{
    if (x >= 0 && y >= 0)
        I_GetBlockType(x, y, 1, 1, pixel, im, type);
    else
        findImageRecord(im, "I_GetBlockType");
}

int32_t invertPixel(int32_t x, int32_t y, int32_t im, int32_t type)
{
    uint8_t pixel[kMostPixelBytes] = {};
    if (!I_GetBlockType(x, y, 1, 1, pixel, im, type))
        return 0;
    InvertRawLine(pixel, 1, 0, im);
    return I_PutBlockType(x, y, 1, 1, pixel, im, type);
}

} // namespace
} // namespace vexa

using namespace vexa;

float I_GetPix(int32_t x, int32_t y, int32_t im)
{
    float value = 0.0F;
    readPixel(x, y, &value, im, PIX_FLOAT);
    return value;
}

int32_t I_PutPix(int32_t x, int32_t y, float value, int32_t im)
{
    return I_PutBlockType(x, y, 1, 1, &value, im, PIX_FLOAT);
}

int32_t I_GetPixByte(int32_t x, int32_t y, int32_t im)
{
    uint8_t value = 0;
    readPixel(x, y, &value, im, PIX_BYTE);
    return value;
}

int32_t I_PutPixByte(int32_t x, int32_t y, int32_t value, int32_t im)
{
    const ImageRecord* const record = findImageRecord(im, "I_PutBlockType");
    if (!record)
        return 0;
    if (value < 0)
        return invertPixel(x, y, im, record->type);
    const uint8_t* const raw = GetRawColor(value, im);
    return raw ? I_PutBlockType(x, y, 1, 1, raw, im, record->type) : 0;
}

int32_t I_GetPixBGR(int32_t x, int32_t y, int32_t im)
{
    uint8_t bytes[4] = {};
    readPixel(x, y, bytes, im, PIX_BGR32);
    return static_cast<int32_t>(bytes[0] | bytes[1] << 8 | bytes[2] << 16 |
                                static_cast<uint32_t>(bytes[3]) << 24);
}
