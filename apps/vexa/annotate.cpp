#include "annotate.h"

#include <algorithm>
#include <array>
#include <string>

#include "failure.h"
#include "glyphs.h"
#include "vexalib/vexalib.h"

namespace app
{
namespace
{

struct Color {
    uint8_t blue, green, red;
};
constexpr Color kLine = {32, 32, 220};
constexpr Color kDigit = {255, 255, 255};
constexpr int32_t kLineEntry = 200; // of the display palette
constexpr int32_t kMargin = 3;      // between a defect and its box

// Gives one entry of the display palette the colour of the boxes; the others stay a ramp of greys.
void preparePalette()
{
    std::array<uint8_t, 256> red;
    for (std::size_t i = 0; i < red.size(); ++i)
        red[i] = static_cast<uint8_t>(i);
    std::array<uint8_t, 256> green = red;
    std::array<uint8_t, 256> blue = red;
    red[kLineEntry] = kLine.red;
    green[kLineEntry] = kLine.green;
    blue[kLineEntry] = kLine.blue;
    I_SetColorMode(0); // no reserved entries: the highest pixel value stays 255
    require(I_SetDisplayLUTs(red.data(), green.data(), blue.data()) != 0, "cannot set the display palette");
}

void drawBox(const VexaBox& box, int32_t image)
{
    for (const int32_t margin : {kMargin, kMargin + 1})
        I_DrawRect1(box.left - margin, box.top - margin, box.right + margin, box.bottom + margin, kLineEntry,
                    image);
}

void put(Pixels& pixels, int32_t x, int32_t y, Color color)
{
    if (x < 0 || y < 0 || x >= pixels.cols || y >= pixels.rows)
        return;
    uint8_t* pixel = pixels.row(y) + 3 * x;
    pixel[0] = color.blue;
    pixel[1] = color.green;
    pixel[2] = color.red;
}

// How many pixels a dot of the digits has a side: more on a large picture, which is shown reduced.
int32_t digitScale(const Pixels& pixels)
{
    return std::max(2, (std::max(pixels.cols, pixels.rows) + 511) / 512);
}

// A label of white digits on the colour of the box, its bottom left corner at (x, y).
void drawNumber(Pixels& pixels, const std::string& digits, int32_t x, int32_t y)
{
    const int32_t scale = digitScale(pixels);
    const int32_t advance = kGlyphCols + 1;
    const int32_t cols = static_cast<int32_t>(digits.size()) * advance + 1;
    const int32_t rows = kGlyphRows + 2;
    x = std::clamp(x, 0, std::max(0, pixels.cols - cols * scale));
    y = std::clamp(y - rows * scale, 0, std::max(0, pixels.rows - rows * scale));
    for (int32_t row = 0; row < rows * scale; ++row)
        for (int32_t col = 0; col < cols * scale; ++col) {
            const int32_t dotX = col / scale - 1;
            const int32_t dotY = row / scale - 1;
            const bool ink = dotX >= 0 && dotY >= 0 && dotY < kGlyphRows &&
                             isInk(digits[static_cast<std::size_t>(dotX / advance)], dotX % advance, dotY);
            put(pixels, x + col, y + row, ink ? kDigit : kLine);
        }
}

} // namespace

Pixels annotated(const Image& defectPicture, const std::vector<Defect>& defects)
{
    const Image canvas = defectPicture.converted(PIX_BGR24);
    preparePalette();
    for (const Defect& defect : defects)
        drawBox(defect.box, canvas.number());
    Pixels pixels = canvas.read(3);
    for (const Defect& defect : defects)
        drawNumber(pixels, std::to_string(defect.number), defect.box.left - kMargin - 1,
                   defect.box.top - kMargin - 1);
    return pixels;
}

} // namespace app
