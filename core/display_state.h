// What the display settings say of pixel values: colour tables, reserved colours, the highest pixel value.
#ifndef VEXA_CORE_DISPLAY_STATE_H
#define VEXA_CORE_DISPLAY_STATE_H

#include <cstdint>

namespace vexa
{

// The highest pixel value without reserved colours, and with entries 252 to 255 kept for graphics.
inline constexpr int32_t kHighestOfAll = 255;
inline constexpr int32_t kHighestUnderColors = 251;

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
    int32_t highestPixel = kHighestOfAll;
    double gammaCRT = 2.2;
    double displayGamma = 2.1;
    int32_t overflowColor = 0; // non-zero: clipped black and white pixels show in colour
    double pixelAspect = 1.0;
};

// The one display state of the process.
DisplayState& displayState();

// Makes the tables if there are none yet, all five as identity; making them under a non-zero colour mode
// lowers the highest pixel value to 251. False with error 2 where there is no memory.
[[nodiscard]] bool ensureDisplayTables();

// Writes the graphics colours into entries 252 to 255: red, green, cyan, white. The tables may be one and the
// same; blue is then what stays.
void writeGraphicsColors(uint8_t* red, uint8_t* green, uint8_t* blue);

// table[i] = i.
void makeIdentity(uint8_t* table);

} // namespace vexa

#endif
