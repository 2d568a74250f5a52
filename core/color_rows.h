// Rows of packed colour pixels to planes and back. Compiled once per instruction set, hence no include guard.

#include "core/convert_row.h"

namespace vexa::VEXA_TARGET
{

// Bytes of a pixel; the vectoriser knows the step.
template <int32_t Step>
struct PixelBytes {
    uint8_t byte[Step];
};

// plane[i] = byte `at` of packed pixel i.
template <int32_t Step>
inline void takeByte(const void* packed, uint8_t* plane, int32_t n, int32_t at)
{
    convertRow<PixelBytes<Step>, uint8_t>(packed, plane, n, [at](PixelBytes<Step> p) { return p.byte[at]; });
}

// Byte `at` of packed pixel i = plane[i]; the pixel's other bytes stay.
template <int32_t Step>
inline void putByte(const uint8_t* plane, void* packed, int32_t n, int32_t at)
{
    auto* out = static_cast<uint8_t*>(packed) + at;
    for (int32_t i = 0; i < n; ++i)
        out[int64_t{Step} * i] = plane[i];
}

inline void takeBits(const void* packed, uint8_t* plane, int32_t n, int32_t lowestBit, int32_t bits)
{
    const int32_t mask = (1 << bits) - 1;
    const int32_t up = 8 - bits;
    convertRow<uint16_t, uint8_t>(packed, plane, n,
                                  [=](uint16_t p) { return (p >> lowestBit & mask) << up; });
}

inline void putBits(const uint8_t* plane, void* packed, int32_t n, int32_t lowestBit, int32_t bits)
{
    const int32_t mask = ((1 << bits) - 1) << lowestBit;
    const int32_t down = 8 - bits;
    auto* out = static_cast<uint8_t*>(packed);
    for (int32_t i = 0; i < n; ++i) {
        const int32_t others = loadPixel<uint16_t>(out, i) & ~mask;
        storePixel<uint16_t>(out, i, static_cast<uint16_t>(others | plane[i] >> down << lowestBit));
    }
}

// The mean of three bytes, truncated.
inline uint8_t meanOfThree(uint32_t a, uint32_t b, uint32_t c)
{
    return static_cast<uint8_t>((a + b + c) * kThird >> 16);
}

// meanOfPacked for as many whole vectors as there are: gives the number of pixels done. Pixels are spread to four bytes,
// the fourth 0, so that each is summed within its own lane. Loads reach a few bytes past the pixels of their vector.
#if VEXA_LEVEL == 3
inline int32_t meanOfPackedVectors(const uint8_t* packed, uint8_t* grey, int32_t n)
{
    const __m512i byteInLane = _mm512_set1_epi32(0x03020100);
    const __m512i firstOfLane =
        _mm512_setr_epi32(0x000000, 0x030303, 0x060606, 0x090909, 0x0c0c0c, 0x0f0f0f, 0x121212, 0x151515,
                          0x181818, 0x1b1b1b, 0x1e1e1e, 0x212121, 0x242424, 0x272727, 0x2a2a2a, 0x2d2d2d);
    const __m512i spread = _mm512_add_epi8(byteInLane, firstOfLane);
    constexpr __mmask64 kColors = 0x7777777777777777; // the fourth byte of each lane is 0
    const __m512i ones = _mm512_set1_epi8(1);
    const __m512i third = _mm512_set1_epi16(kThird);
    const __m512i order = _mm512_setr_epi32(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15);
    int32_t i = 0;
    for (; i <= n - 70; i += 64) {
        __m512i sixteen[4];
        for (int32_t k = 0; k < 4; ++k) {
            const uint8_t* in = packed + int64_t{i} * 3 + 48 * k;
            _mm_prefetch(reinterpret_cast<const char*>(in + kPrefetchBytes), _MM_HINT_T0);
            const __m512i pixels = _mm512_maskz_permutexvar_epi8(kColors, spread, _mm512_loadu_si512(in));
            const __m512i sums = _mm512_dpbusd_epi32(_mm512_setzero_si512(), pixels, ones);
            sixteen[k] = _mm512_mulhi_epu16(sums, third);
        }
        const __m512i bytes = _mm512_packus_epi16(_mm512_packus_epi32(sixteen[0], sixteen[1]),
                                                  _mm512_packus_epi32(sixteen[2], sixteen[3]));
        _mm512_storeu_si512(grey + i, _mm512_permutexvar_epi32(order, bytes));
    }
    return i;
}
#elif VEXA_LEVEL == 2
inline int32_t meanOfPackedVectors(const uint8_t* packed, uint8_t* grey, int32_t n)
{
    const __m256i spread =
        _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1));
    const __m256i ones = _mm256_set1_epi8(1);
    const __m256i third = _mm256_set1_epi16(kThird);
    const __m256i order = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
    const auto load = [](const uint8_t* in) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(in)); };
    int32_t i = 0;
    for (; i <= n - 34; i += 32) {
        __m256i eight[4];
        for (int32_t k = 0; k < 4; ++k) {
            const uint8_t* in = packed + int64_t{i} * 3 + 24 * k;
            _mm_prefetch(reinterpret_cast<const char*>(in + kPrefetchBytes), _MM_HINT_T0);
            const __m256i halves =
                _mm256_inserti128_si256(_mm256_castsi128_si256(load(in)), load(in + 12), 1);
            const __m256i pairs = _mm256_maddubs_epi16(_mm256_shuffle_epi8(halves, spread), ones);
            eight[k] = _mm256_srli_epi32(_mm256_madd_epi16(pairs, third), 16);
        }
        const __m256i bytes = _mm256_packus_epi16(_mm256_packus_epi32(eight[0], eight[1]),
                                                  _mm256_packus_epi32(eight[2], eight[3]));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(grey + i), _mm256_permutevar8x32_epi32(bytes, order));
    }
    return i;
}
#else
inline int32_t meanOfPackedVectors(const uint8_t*, uint8_t*, int32_t)
{
    return 0;
}
#endif

inline void meanOfPacked(const void* packed, uint8_t* grey, int32_t n)
{
    const auto* in = static_cast<const uint8_t*>(packed);
    const int32_t done =
        in == grey || lieApart(in, int64_t{n} * 3, grey, n) ? meanOfPackedVectors(in, grey, n) : 0;
    convertRow<PixelBytes<3>, uint8_t>(in + int64_t{done} * 3, grey + done, n - done, [](PixelBytes<3> p) {
        return meanOfThree(p.byte[0], p.byte[1], p.byte[2]);
    });
}

inline void meanOfPlanes(const uint8_t* red, const uint8_t* green, const uint8_t* blue, uint8_t* grey,
                         int32_t n)
{
    VEXA_INDEPENDENT
    for (int32_t i = 0; i < n; ++i)
        grey[i] = meanOfThree(red[i], green[i], blue[i]);
}

inline void weightedPlanes(const uint8_t* red, const uint8_t* green, const uint8_t* blue, uint8_t* grey,
                           int32_t n)
{
    VEXA_INDEPENDENT
    for (int32_t i = 0; i < n; ++i)
        grey[i] = weightedGrey(red[i], green[i], blue[i]);
}

inline constexpr ColorRows kColorRows = {
    .takeByte = {takeByte<3>, takeByte<4>},
    .putByte = {putByte<3>, putByte<4>},
    .takeBits = takeBits,
    .putBits = putBits,
    .meanOfPacked = meanOfPacked,
    .meanOfPlanes = meanOfPlanes,
    .weightedPlanes = weightedPlanes,
};

} // namespace vexa::VEXA_TARGET
