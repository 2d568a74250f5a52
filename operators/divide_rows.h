// Row functions of the division. Compiled once per instruction set, hence no include guard.

#include "operators/clip_slots.h"
#include "operators/quotients.h"
#include "operators/row_loops.h"

namespace vexa::VEXA_TARGET
{
namespace
{

// A gain up to this size, and none below 0, keeps a * gain + b / 2 within 16 bits.
inline constexpr int32_t kMostShortGain = 256;

// min((a * gain + b / 2) / b, highest), highest where b is 0, over the whole vectors of a row; how many pixels that was.
// The plain form in DivideRow takes the rest, and all where there is no better one.
#if VEXA_LEVEL >= 3

// 65536 / b, at most 65535, as its low and high bytes: what a permutation across 256 bytes can look up.
struct Reciprocals {
    alignas(64) uint8_t low[256];
    alignas(64) uint8_t high[256];
};
constexpr Reciprocals makeReciprocals()
{
    Reciprocals all{};
    for (uint32_t b = 0; b < 256; ++b) {
        const uint32_t reciprocal = b < 2 ? 65535 : 65536 / b;
        all.low[b] = static_cast<uint8_t>(reciprocal);
        all.high[b] = static_cast<uint8_t>(reciprocal >> 8);
    }
    return all;
}
inline constexpr Reciprocals kReciprocals = makeReciprocals();

struct ByteTable {
    __m512i quarter[4];

    explicit ByteTable(const uint8_t* table)
    {
        for (int32_t i = 0; i < 4; ++i)
            quarter[i] = _mm512_load_si512(table + 64 * i);
    }
    __m512i operator()(__m512i index) const
    {
        const __m512i lower = _mm512_permutex2var_epi8(quarter[0], index, quarter[1]);
        const __m512i upper = _mm512_permutex2var_epi8(quarter[2], index, quarter[3]);
        return _mm512_mask_blend_epi8(_mm512_movepi8_mask(index), lower, upper);
    }
};

// 16-bit lanes: the product with the reciprocal is the quotient or 1 less, and the remainder tells which.
inline __m512i shortQuotients(__m512i numerator, __m512i divisor, __m512i reciprocal)
{
    const __m512i estimate = _mm512_mulhi_epu16(numerator, reciprocal);
    const __m512i remainder = _mm512_sub_epi16(numerator, _mm512_mullo_epi16(estimate, divisor));
    const __mmask32 oneMore = _mm512_cmpge_epu16_mask(remainder, divisor);
    return _mm512_mask_add_epi16(estimate, oneMore, estimate, _mm512_set1_epi16(1));
}

inline int32_t divideVectors(const uint8_t* a, const uint8_t* b, uint8_t* dest, int32_t n, int32_t gain,
                             uint8_t highest)
{
    const ByteTable lowBytes(kReciprocals.low);
    const ByteTable highBytes(kReciprocals.high);
    const __m512i gains = _mm512_set1_epi16(static_cast<int16_t>(gain));
    const __m512i limit = _mm512_set1_epi16(highest);
    const __m512i zero = _mm512_setzero_si512();
    const auto clippedQuotients = [&](__m512i x, __m512i y, __m512i reciprocal) {
        const __m512i numerator = _mm512_add_epi16(_mm512_mullo_epi16(x, gains), _mm512_srli_epi16(y, 1));
        return _mm512_min_epu16(shortQuotients(numerator, y, reciprocal), limit);
    };
    int32_t i = 0;
    for (; i + 64 <= n; i += 64) {
        const __m512i x = _mm512_loadu_si512(a + i);
        const __m512i y = _mm512_loadu_si512(b + i);
        const __m512i low = lowBytes(y);
        const __m512i high = highBytes(y);
        const __m512i first = clippedQuotients(_mm512_unpacklo_epi8(x, zero), _mm512_unpacklo_epi8(y, zero),
                                               _mm512_unpacklo_epi8(low, high));
        const __m512i second = clippedQuotients(_mm512_unpackhi_epi8(x, zero), _mm512_unpackhi_epi8(y, zero),
                                                _mm512_unpackhi_epi8(low, high));
        const __m512i quotients = _mm512_packus_epi16(first, second);
        const __mmask64 byZero = _mm512_testn_epi8_mask(y, y);
        _mm512_storeu_si512(dest + i, _mm512_mask_mov_epi8(quotients, byZero,
                                                           _mm512_set1_epi8(static_cast<int8_t>(highest))));
    }
    return i;
}

#elif VEXA_LEVEL == 2

// Eight quotients: both sides are exact in float, see truncatedQuotient.
inline __m256i floatQuotients(__m256i numerator, __m256i divisor)
{
    return _mm256_cvttps_epi32(_mm256_div_ps(_mm256_cvtepi32_ps(numerator), _mm256_cvtepi32_ps(divisor)));
}

inline int32_t divideVectors(const uint8_t* a, const uint8_t* b, uint8_t* dest, int32_t n, int32_t gain,
                             uint8_t highest)
{
    const __m256i gains = _mm256_set1_epi16(static_cast<int16_t>(gain));
    const __m256i limit = _mm256_set1_epi16(highest);
    const __m256i zero = _mm256_setzero_si256();
    int32_t i = 0;
    for (; i + 16 <= n; i += 16) {
        const __m256i x = _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(a + i)));
        const __m256i y = _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(b + i)));
        const __m256i byZero = _mm256_cmpeq_epi16(y, zero);
        const __m256i divisor = _mm256_sub_epi16(y, byZero);
        const __m256i numerator = _mm256_add_epi16(_mm256_mullo_epi16(x, gains), _mm256_srli_epi16(y, 1));
        const __m256i first =
            floatQuotients(_mm256_unpacklo_epi16(numerator, zero), _mm256_unpacklo_epi16(divisor, zero));
        const __m256i second =
            floatQuotients(_mm256_unpackhi_epi16(numerator, zero), _mm256_unpackhi_epi16(divisor, zero));
        const __m256i quotients = _mm256_min_epu16(_mm256_packus_epi32(first, second), limit);
        const __m256i results = _mm256_blendv_epi8(quotients, limit, byZero);
        const __m256i packed = _mm256_permute4x64_epi64(_mm256_packus_epi16(results, results), 0x08);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(dest + i), _mm256_castsi256_si128(packed));
    }
    return i;
}

#else

inline int32_t divideVectors(const uint8_t*, const uint8_t*, uint8_t*, int32_t, int32_t, uint8_t)
{
    return 0;
}

#endif

// (a * gain + b / 2) / b in 32 bits, the quotient truncated, with the high slot; the highest pixel value where b is 0.
template <int32_t Mode, typename Real>
void divideBytes(const void* a, const void* b, void* dest, int32_t n, int32_t gain, ClipLimits limits)
{
    mapRow<uint8_t>(a, b, dest, n, [=](uint8_t x, uint8_t y) {
        const int32_t numerator = wrapAdd(wrapMultiply(x, gain), y / 2);
        const auto quotient =
            static_cast<uint8_t>(high<Mode>(uint8_t{}, quotientOrAny<Real>(numerator, y), limits));
        return y == 0 ? limits.highestPixel : quotient;
    });
}

template <typename Pixel, int32_t Mode>
struct DivideRow;
template <int32_t Mode>
struct DivideRow<uint8_t, Mode> {
    static void run(const void* a, const void* b, void* dest, int32_t n, void* parameter)
    {
        const int32_t gain = static_cast<const DivideParameter*>(parameter)->whole;
        const ClipLimits limits = clipLimits();
        const auto* pa = static_cast<const uint8_t*>(a);
        const auto* pb = static_cast<const uint8_t*>(b);
        auto* out = static_cast<uint8_t*>(dest);
        int32_t done = 0;
        if constexpr (Mode == 1 || Mode == 2) {
            if (gain >= 0 && gain <= kMostShortGain && clear(out, pa, n) && clear(out, pb, n))
                done = divideVectors(pa, pb, out, n, gain, limits.highestPixel);
        }
        constexpr int32_t kMostFloatGain = kMostInFloat / 255 - 1;
        if (gain >= -kMostFloatGain && gain <= kMostFloatGain)
            divideBytes<Mode, float>(pa + done, pb + done, out + done, n - done, gain, limits);
        else
            divideBytes<Mode, double>(pa + done, pb + done, out + done, n - done, gain, limits);
    }
    static bool clear(const void* dest, const void* source, int32_t n)
    {
        return independent(static_cast<const Placed<uint8_t>*>(dest),
                           static_cast<const Placed<uint8_t>*>(source), n);
    }
};

// a * gain / b without a slot, the gain where b is 0.
template <int32_t Mode>
struct DivideRow<uint16_t, Mode> {
    static void run(const void* a, const void* b, void* dest, int32_t n, void* parameter)
    {
        const int32_t gain = static_cast<const DivideParameter*>(parameter)->whole;
        mapRow<uint16_t>(a, b, dest, n, [=](uint16_t x, uint16_t y) {
            const int32_t quotient = quotientOrAny<double>(wrapMultiply(x, gain), y);
            return y == 0 ? gain : quotient;
        });
    }
};

template <int32_t Mode>
struct DivideRow<float, Mode> {
    static void run(const void* a, const void* b, void* dest, int32_t n, void* parameter)
    {
        const float gain = static_cast<const DivideParameter*>(parameter)->gain;
        mapRow<float>(a, b, dest, n, [=](float x, float y) { return y == 0.0F ? 0.0F : x * gain / y; });
    }
};

template <int32_t Mode>
struct DivideRow<ComplexPixel, Mode> {
    static void run(const void* a, const void* b, void* dest, int32_t n, void* parameter)
    {
        const float gain = static_cast<const DivideParameter*>(parameter)->gain;
        mapRow<ComplexPixel>(a, b, dest, n, [=](ComplexPixel x, ComplexPixel y) {
            constexpr float kLeast = 1e-38F;
            const float square = y.re * y.re + y.im * y.im;
            const float denominator = square < kLeast ? kLeast : square;
            // A difference of products g++ 12 would round only once.
            return ComplexPixel{(x.re * y.re + x.im * y.im) / denominator * gain,
                                (x.im * y.re + x.re * -y.im) / denominator * gain};
        });
    }
};

inline constexpr auto kDivideRows = rowsByClipMode<DivideRow, uint8_t, uint16_t, ComplexPixel, float>();

} // namespace
} // namespace vexa::VEXA_TARGET
