// Row functions of the smoothing family. Compiled once per instruction set, hence no include guard.

#include "operators/clip_slots.h"
#include "operators/row_loops.h"

namespace vexa::VEXA_TARGET
{
namespace
{

// Outputs that are computed together, through the first-level cache.
inline constexpr int32_t kPiece = 1024;

// The three rows and the three columns of the nine points that a neighbourhood is sampled at.
template <typename Pixel>
struct NinePoints {
    const Pixel* top;
    const Pixel* middle;
    const Pixel* bottom;
    int32_t center;
    int32_t right;

    explicit NinePoints(const FrameLine& line)
        : top(static_cast<const Pixel*>(line.rows[0])),
          middle(static_cast<const Pixel*>(line.rows[line.height / 2])),
          bottom(static_cast<const Pixel*>(line.rows[line.height - 1])), center(line.width / 2),
          right(line.width - 1)
    {
    }
};

// columns[i] = the sum of three rows, for i below n and up to a vector beyond, which the rows have slack for.
#if VEXA_LEVEL >= 3
inline __m512i loadWords(const uint8_t* bytes)
{
    return _mm512_cvtepu8_epi16(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(bytes)));
}
inline void addThreeRows(const uint8_t* top, const uint8_t* middle, const uint8_t* bottom, uint16_t* columns,
                         int32_t n)
{
    for (int32_t i = 0; i < n; i += 32) {
        const __m512i sum = _mm512_add_epi16(loadWords(top + i), loadWords(middle + i));
        _mm512_storeu_si512(columns + i, _mm512_add_epi16(sum, loadWords(bottom + i)));
    }
}
#elif VEXA_LEVEL == 2
inline __m256i loadWords(const uint8_t* bytes)
{
    return _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes)));
}
inline void addThreeRows(const uint8_t* top, const uint8_t* middle, const uint8_t* bottom, uint16_t* columns,
                         int32_t n)
{
    for (int32_t i = 0; i < n; i += 16) {
        const __m256i sum = _mm256_add_epi16(loadWords(top + i), loadWords(middle + i));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(columns + i),
                            _mm256_add_epi16(sum, loadWords(bottom + i)));
    }
}
#else
inline void addThreeRows(const uint8_t* top, const uint8_t* middle, const uint8_t* bottom, uint16_t* columns,
                         int32_t n)
{
    for (int32_t i = 0; i < n; ++i)
        columns[i] = static_cast<uint16_t>(top[i] + middle[i] + bottom[i]);
}
#endif

// finish(i, sum of the nine points of output i) for all outputs. A column's sum serves three outputs.
template <typename Finish>
[[gnu::always_inline]] inline void sumNineBytes(const FrameLine& line, Finish finish)
{
    constexpr int32_t kMostShared = 256;
    const NinePoints<uint8_t> at(line);
    const int32_t center = at.center;
    const int32_t right = at.right;
    if (right > kMostShared) {
        for (int32_t i = 0; i < line.count; ++i) {
            int32_t sum = 0;
            for (const uint8_t* row : {at.top + i, at.middle + i, at.bottom + i})
                sum += row[0] + row[center] + row[right];
            finish(i, static_cast<uint16_t>(sum));
        }
        return;
    }
    alignas(64) uint16_t columns[kPiece + kMostShared + 32];
    for (int32_t start = 0; start < line.count; start += kPiece) {
        const int32_t n = std::min(kPiece, line.count - start);
        addThreeRows(at.top + start, at.middle + start, at.bottom + start, columns, n + right);
        VEXA_INDEPENDENT
        for (int32_t i = 0; i < n; ++i)
            finish(start + i, static_cast<uint16_t>(columns[i] + columns[i + center] + columns[i + right]));
    }
}

// (sum + 4) / 9; the product with 7282 / 65536 truncates as the division does up to 32767.
inline void meanBytes(const FrameLine& line, void*)
{
    auto* const out = static_cast<uint8_t*>(line.out);
    sumNineBytes(line, [=](int32_t i, uint16_t sum) {
        out[i] = static_cast<uint8_t>((uint32_t{static_cast<uint16_t>(sum + 4)} * 7282U) >> 16);
    });
}

template <typename Function>
[[gnu::always_inline]] inline void mapNineFloats(const FrameLine& line, Function pixel)
{
    const NinePoints<float> at(line);
    auto* const out = static_cast<float*>(line.out);
    const int32_t center = at.center;
    const int32_t right = at.right;
    VEXA_INDEPENDENT
    for (int32_t i = 0; i < line.count; ++i) {
        const float* const top = at.top + i;
        const float* const middle = at.middle + i;
        const float* const bottom = at.bottom + i;
        const double above = double{top[0]} + top[center] + top[right] + middle[0];
        out[i] = pixel(above, middle[center], double{middle[right]}, double{bottom[0]},
                       double{bottom[center]}, double{bottom[right]});
    }
}

inline void meanFloats(const FrameLine& line, void*)
{
    mapNineFloats(line, [](double above, float center, double e, double sw, double s, double se) {
        return static_cast<float>((above + center + e + sw + s + se) / 9.0);
    });
}

inline constexpr NinePointFilter kMean = {meanBytes, meanFloats};

// Strengths up to this one leave every result, and its sum with 128, in 16 bits.
inline constexpr int32_t kMostShortStrength = 2000;

// t * strength / 128, truncated toward zero, and the centre.
template <int32_t Mode>
void sharpenBytesWide(const FrameLine& line, SharpenParams params)
{
    const ClipLimits limits = clipLimits();
    const NinePoints<uint8_t> at(line);
    const uint8_t* const centers = at.middle + at.center;
    auto* const out = static_cast<uint8_t*>(line.out);
    const int32_t keep = params.noCentre ? 0 : 255;
    sumNineBytes(line, [=](int32_t i, uint16_t sum) {
        const int32_t t = wrapMultiply(9 * centers[i] - sum, params.strength);
        out[i] = static_cast<uint8_t>(both<Mode>(uint8_t{}, t / 128 + (centers[i] & keep), limits));
    });
}

template <typename Pixel, int32_t Mode>
struct SharpenRow;
template <int32_t Mode>
struct SharpenRow<uint8_t, Mode> {
    static void run(const FrameLine& line, void* user)
    {
        const SharpenParams params = *static_cast<const SharpenParams*>(user);
        if (params.strength < -kMostShortStrength || params.strength > kMostShortStrength)
            return sharpenBytesWide<Mode>(line, params);
        const ClipLimits limits = clipLimits();
        const NinePoints<uint8_t> at(line);
        const uint8_t* const centers = at.middle + at.center;
        auto* const out = static_cast<uint8_t*>(line.out);
        const auto keep = static_cast<int16_t>(params.noCentre ? 0 : 255);
        const auto negative = static_cast<int16_t>(params.strength < 0 ? -1 : 0);
        // |t| * 32 and |strength| * 16 are 16 bits each, and the high half of their product is |t * strength| / 128.
        const auto factor =
            static_cast<uint16_t>((params.strength < 0 ? -params.strength : params.strength) * 16);
        sumNineBytes(line, [=](int32_t i, uint16_t sum) {
            const auto center = static_cast<int16_t>(centers[i]);
            const auto t = static_cast<int16_t>(9 * center - static_cast<int16_t>(sum));
            const auto size = static_cast<uint16_t>(static_cast<uint16_t>(t < 0 ? -t : t) << 5);
            const auto quotient = static_cast<int16_t>((uint32_t{size} * factor) >> 16);
            const auto turn = static_cast<int16_t>((t >> 15) ^ negative);
            const auto change = static_cast<int16_t>((quotient ^ turn) - turn);
            const auto result = static_cast<int16_t>(change + (center & keep));
            if constexpr (Mode == 1) // the same byte as that of the slot
                out[i] = static_cast<uint8_t>(std::clamp<int16_t>(result, 0, limits.highestPixel));
            else
                out[i] = static_cast<uint8_t>(both<Mode>(uint8_t{}, result, limits));
        });
    }
};
template <int32_t Mode>
struct SharpenRow<float, Mode> {
    static void run(const FrameLine& line, void* user)
    {
        const SharpenParams params = *static_cast<const SharpenParams*>(user);
        const ClipLimits limits = clipLimits();
        const double strength = params.strength;
        const double keep = params.noCentre ? 0.0 : 1.0;
        mapNineFloats(line, [=](double above, float center, double e, double sw, double s, double se) {
            const double t = (8.0 * center - (above + e + sw + s + se)) * strength * 0.0078125;
            const double result = keep != 0.0 ? t + center : t;
            return both<Mode>(float{}, static_cast<float>(result), limits);
        });
    }
};
inline constexpr auto kSharpenRows = rowsByClipMode<SharpenRow, uint8_t, float>();

} // namespace
} // namespace vexa::VEXA_TARGET
