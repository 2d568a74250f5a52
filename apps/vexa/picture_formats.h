// One reader a format. Each gets the whole file in memory and gives pixels, or throws a Failure that tells the fault.
#ifndef VEXA_APPS_PICTURE_FORMATS_H
#define VEXA_APPS_PICTURE_FORMATS_H

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "image.h"
#include "picture_io.h"

namespace app
{

struct Decoded {
    Pixels pixels;
    FileFacts facts;
};

Decoded decodePng(std::span<const uint8_t> file);
Decoded decodeJpeg(std::span<const uint8_t> file);
Decoded decodeTiff(std::span<const uint8_t> file);
std::vector<uint8_t> encodeTiff(const Pixels& pixels);

// 0 to 65535 onto 0 to 255, to the nearest.
inline uint8_t reduced16(uint32_t sample)
{
    return static_cast<uint8_t>((sample * 255U + 32767U) / 65535U);
}

// Ends the command where a picture has no pixels or more than the library's sizes hold.
void checkSize(int64_t cols, int64_t rows);

} // namespace app

#endif
