// Row functions of copies, overlays and masks. Compiled once per instruction set, hence no include guard.

#include "operators/row_loops.h"

namespace vexa::VEXA_TARGET
{
namespace
{

// A pixel of three colour bytes.
struct ColorPixel {
    uint8_t band[3];
};

inline void copyRow(const void* source, void* dest, int32_t n, void* parameter)
{
    const int64_t bytes = int64_t{n} * *static_cast<const int32_t*>(parameter);
    const auto* from = static_cast<const uint8_t*>(source);
    auto* to = static_cast<uint8_t*>(dest);
    if (from == to)
        return;
    if (resultPassesCache() &&
        (std::less_equal<>{}(to + bytes, from) || std::less_equal<>{}(from + bytes, to)))
        storePastCache(to, from, bytes);
    else
        std::memmove(to, from, static_cast<std::size_t>(bytes));
}

inline void copySecondRow(const void*, const void* b, void* dest, int32_t n, void* parameter)
{
    copyRow(b, dest, n, parameter);
}

// b where it is not 0, a elsewhere.
template <typename Pixel>
void overlayRow(const void* a, const void* b, void* dest, int32_t n, void*)
{
    mapRow<Pixel>(a, b, dest, n, [](Pixel x, Pixel y) { return y != 0 ? y : x; });
}
inline void overlayColorRow(const void* a, const void* b, void* dest, int32_t n, void*)
{
    // Required: a colour of b counts by its middle byte alone.
    mapRow<ColorPixel>(a, b, dest, n, [](ColorPixel x, ColorPixel y) { return y.band[1] != 0 ? y : x; });
}

// Copies where the table, 0 or 255 for each value of the mask, says so.
inline void maskedCopyRow(const void* source, const void* mask, void* dest, int32_t n, void* parameter)
{
    const auto* table = static_cast<const uint8_t*>(parameter);
    const auto* from = static_cast<const uint8_t*>(source);
    const auto* select = static_cast<const uint8_t*>(mask);
    auto* to = static_cast<uint8_t*>(dest);
    for (int32_t i = 0; i < n; ++i) {
        const uint8_t taken = table[select[i]];
        to[i] = static_cast<uint8_t>((from[i] & taken) | (to[i] & ~taken));
    }
}
// The same for the table that takes all but 0.
inline void nonZeroCopyRow(const void* source, const void* mask, void* dest, int32_t n, void* parameter)
{
    const auto* from = static_cast<const Placed<uint8_t>*>(source);
    const auto* select = static_cast<const Placed<uint8_t>*>(mask);
    auto* to = static_cast<Placed<uint8_t>*>(dest);
    if (!independent(to, from, n) || !independent(to, select, n)) {
        maskedCopyRow(source, mask, dest, n, parameter);
        return;
    }
    VEXA_INDEPENDENT
    for (int32_t i = 0; i < n; ++i)
        to[i].value = select[i].value != 0 ? from[i].value : to[i].value;
}

inline int32_t distance(uint8_t x, uint8_t y)
{
    return x < y ? y - x : x - y;
}

inline void colorMatchRow(const void* source, void* dest, int32_t n, void* parameter)
{
    auto& match = *static_cast<ColorMatch*>(parameter);
    const ColorMatch by = match;
    int32_t matches = 0;
    mapRow<ColorPixel>(source, dest, n, [&](ColorPixel x) {
        const int32_t off = distance(x.band[0], by.color[0]) + distance(x.band[1], by.color[1]) +
                            distance(x.band[2], by.color[2]);
        const bool matching = off <= by.tolerance;
        matches += matching;
        return matching ? ColorPixel{by.value[0], by.value[1], by.value[2]} : ColorPixel{};
    });
    match.count += matches;
}

inline void largestBandRow(const void* source, void* dest, int32_t n, void*)
{
    mapRow<ColorPixel>(source, dest, n, [](ColorPixel x) {
        const uint8_t largest = std::max(std::max(x.band[0], x.band[1]), x.band[2]);
        return ColorPixel{largest, largest, largest};
    });
}

// The one of two that lies farther from 128, the first of equals.
inline uint8_t farther(uint8_t x, uint8_t y)
{
    return distance(y, 128) > distance(x, 128) ? y : x;
}
inline void farthestBandRow(const void* source, void* dest, int32_t n, void*)
{
    mapRow<ColorPixel>(source, dest, n, [](ColorPixel x) {
        const uint8_t farthest = farther(x.band[0], farther(x.band[1], x.band[2]));
        return ColorPixel{farthest, farthest, farthest};
    });
}

inline constexpr BinaryRowFilter kOverlayBytes = overlayRow<uint8_t>;
inline constexpr BinaryRowFilter kOverlayWords = overlayRow<uint16_t>;
inline constexpr BinaryRowFilter kOverlayDwords = overlayRow<int32_t>;

} // namespace
} // namespace vexa::VEXA_TARGET
