// What single images and grids of images on the screen have in common.
#ifndef VEXA_FILEIO_DISPLAY_PARTS_H
#define VEXA_FILEIO_DISPLAY_PARTS_H

#include <cstdint>

namespace vexa
{

struct Rectangle {
    int32_t x = 0;
    int32_t y = 0;
    int32_t width = 0;
    int32_t height = 0;
};

// DisplayImageStretch.
int32_t showImage(void* dc, int32_t im, Rectangle source, Rectangle target);

// Scales an image to 251/255, whatever the region.
void leaveRoomForOverlay(int32_t im);

int32_t scaledSize(int32_t size, float zoom);

} // namespace vexa

#endif
