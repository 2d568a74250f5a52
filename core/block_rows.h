// The extremes of a row of numbers. Compiled once per instruction set, hence no include guard.

namespace vexa::VEXA_TARGET
{

// Rows lie at any address.
template <typename Pixel>
Pixel loadPixel(const uint8_t* row, int64_t i)
{
    Pixel pixel;
    __builtin_memcpy(&pixel, row + i * static_cast<int64_t>(sizeof(Pixel)), sizeof(Pixel));
    return pixel;
}

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

// The same for floats: a comparison with something that is no number changes nothing. As many ranges side by side as
// keep the comparisons busy; their joining can mistake the sign of a zero.
template <>
inline void extendRange<float>(const uint8_t* row, int64_t n, float& low, float& high)
{
    constexpr int64_t kLanes = 64;
    typedef float Lanes __attribute__((vector_size(kLanes * sizeof(float))));
    int64_t i = 0;
    if (n >= kLanes) {
        Lanes lowest = low - Lanes{};
        Lanes highest = high - Lanes{};
        for (; i + kLanes <= n; i += kLanes) {
            Lanes pixels;
            __builtin_memcpy(&pixels, row + i * static_cast<int64_t>(sizeof(float)), sizeof pixels);
            lowest = pixels < lowest ? pixels : lowest;
            highest = pixels > highest ? pixels : highest;
        }
        for (int64_t lane = 0; lane < kLanes; ++lane) {
            low = lowest[lane] < low ? lowest[lane] : low;
            high = highest[lane] > high ? highest[lane] : high;
        }
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
