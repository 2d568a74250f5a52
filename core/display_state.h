// What the display settings say of pixel values: colour tables, reserved colours, the highest pixel value.
#ifndef VEXA_CORE_DISPLAY_STATE_H
#define VEXA_CORE_DISPLAY_STATE_H

#include <cstdint>

namespace vexa
{

struct DisplayTables {
    uint8_t red[256];
    uint8_t green[256];
    uint8_t blue[256];
    uint8_t inverse[256]; // from a displayed value back to a pixel value
    uint8_t gamma[256];
};

struct DisplayState {
    DisplayTables* tables = nullptr; // allocated at first need
    int32_t colorMode = 1;           // non-zero: palette entries 252 to 255 are graphics colours
    int32_t highestPixel = 255;
    double gammaCRT = 2.2;
    int32_t overflowColor = 0; // non-zero: clipped black and white pixels show in colour
    double pixelAspect = 1.0;
};

// The one display state of the process.
DisplayState& displayState();

} // namespace vexa

#endif
