// Lets a display kind draw rectangles and cursors itself.
#ifndef VEXA_GRAPHICS_DISPLAY_HOOKS_H
#define VEXA_GRAPHICS_DISPLAY_HOOKS_H

#include <cstdint>

namespace vexa
{

// What I_CursorUp hands out. Behind it stand the saved pixels of the horizontal stroke and those of the
// vertical one.
struct CursorSave {
    int32_t acrossLength; // of the horizontal stroke, in pixels
    int32_t downLength;   // of the vertical stroke
    int32_t x;            // of the cross point
    int32_t y;
    int32_t startX; // where the horizontal stroke begins
    int32_t startY; // where the vertical stroke begins
    int32_t pixelBytes;
    int32_t im;
};
static_assert(sizeof(CursorSave) == 32);

// Non-zero: it is drawn. The sides are limited to the image.
using RectangleHook = int32_t (*)(int32_t left, int32_t top, int32_t right, int32_t bottom, int32_t color,
                                  int32_t im);
// up is 1 when the cursor is to be drawn, 0 when it is to be taken off; the colour counts only for the first.
using CursorHook = int32_t (*)(const CursorSave* save, int32_t color, int32_t up);

// Each returns the hook that was set; null draws into the image.
RectangleHook setRectangleHook(RectangleHook hook);
CursorHook setCursorHook(CursorHook hook);
RectangleHook rectangleHook();
CursorHook cursorHook();

} // namespace vexa

#endif
