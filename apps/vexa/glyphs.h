// Digits for labels in pictures: five columns by seven rows.
#ifndef VEXA_APPS_GLYPHS_H
#define VEXA_APPS_GLYPHS_H

#include <array>
#include <cstdint>

namespace app
{

inline constexpr int32_t kGlyphCols = 5;
inline constexpr int32_t kGlyphRows = 7;
using Glyph = std::array<uint8_t, kGlyphRows>;

// A row's top bit of five is the left column. What is neither a digit, a point nor a minus is blank.
constexpr Glyph glyphOf(char c)
{
    constexpr std::array<Glyph, 10> kDigits = {{
        {14, 17, 19, 21, 25, 17, 14},
        {4, 12, 4, 4, 4, 4, 14},
        {14, 17, 1, 2, 4, 8, 31},
        {31, 2, 4, 2, 1, 17, 14},
        {2, 6, 10, 18, 31, 2, 2},
        {31, 16, 30, 1, 1, 17, 14},
        {6, 8, 16, 30, 17, 17, 14},
        {31, 1, 2, 4, 8, 8, 8},
        {14, 17, 17, 14, 17, 17, 14},
        {14, 17, 17, 15, 1, 2, 12},
    }};
    if (c >= '0' && c <= '9')
        return kDigits[static_cast<std::size_t>(c - '0')];
    if (c == '.')
        return {0, 0, 0, 0, 0, 12, 12};
    if (c == '-')
        return {0, 0, 0, 31, 0, 0, 0};
    return {};
}

inline bool isInk(char c, int32_t x, int32_t y)
{
    return x < kGlyphCols && (glyphOf(c)[static_cast<std::size_t>(y)] >> (kGlyphCols - 1 - x) & 1) != 0;
}

} // namespace app

#endif
