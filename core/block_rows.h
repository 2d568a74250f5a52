// The extremes of a row of numbers. Compiled once per instruction set, hence no include guard.

#include "core/convert_row.h"

namespace vexa::VEXA_TARGET
{

// Extends a range by the pixels of a row.
template <typename Pixel>
void extendRange(const uint8_t* row, int64_t n, Pixel& low, Pixel& high)
{
    Pixel lowest = low;
    Pixel highest = high;
    for (int64_t i = 0; i < n; ++i) {
        const auto pixel = loadPixel<Pixel>(row, i);
        lowest = pixel < lowest ? pixel : lowest;
        highest = pixel > highest ? pixel : highest;
    }
    low = lowest;
    high = highest;
}

// As many floats as one vector register holds.
inline constexpr int64_t kFloatLanes = VEXA_LEVEL == 3 ? 16 : VEXA_LEVEL == 2 ? 8 : 4;
typedef float FloatLanes __attribute__((vector_size(kFloatLanes * 4)));

// A number of ranges side by side, so that no comparison waits for the one before it.
struct FloatRanges {
    static constexpr int64_t kVectors = 4;
    static constexpr int64_t kFloats = kVectors * kFloatLanes;

    FloatLanes low[kVectors];
    FloatLanes high[kVectors];

    FloatRanges(float lowest, float highest)
    {
        for (int64_t i = 0; i < kFloats; ++i) {
            low[i / kFloatLanes][i % kFloatLanes] = lowest;
            high[i / kFloatLanes][i % kFloatLanes] = highest;
        }
    }

    void extend(const uint8_t* floats)
    {
        for (int64_t i = 0; i < kVectors; ++i) {
            const auto pixels = loadPixel<FloatLanes>(floats, i);
            low[i] = pixels < low[i] ? pixels : low[i];
            high[i] = pixels > high[i] ? pixels : high[i];
        }
    }
};

// The same for floats: a comparison with something that is no number changes nothing. The sign of a zero is that of
// any of the zeros met.
template <>
inline void extendRange<float>(const uint8_t* row, int64_t n, float& low, float& high)
{
    FloatRanges ranges(low, high);
    int64_t i = 0;
    for (; i + FloatRanges::kFloats <= n; i += FloatRanges::kFloats)
        ranges.extend(row + i * static_cast<int64_t>(sizeof(float)));
    for (int64_t lane = 0; lane < FloatRanges::kFloats; ++lane) {
        const float lowest = ranges.low[lane / kFloatLanes][lane % kFloatLanes];
        const float highest = ranges.high[lane / kFloatLanes][lane % kFloatLanes];
        low = lowest < low ? lowest : low;
        high = highest > high ? highest : high;
    }
    for (; i < n; ++i) {
        const auto pixel = loadPixel<float>(row, i);
        low = pixel < low ? pixel : low;
        high = pixel > high ? pixel : high;
    }
}

inline constexpr RangeRows kRangeRows = {extendRange<uint8_t>, extendRange<uint16_t>, extendRange<uint32_t>,
                                         extendRange<float>};

} // namespace vexa::VEXA_TARGET
