// Rows of pixels from one numeric type to another. Compiled once per instruction set, hence no include guard.

#include "core/convert_row.h"

namespace vexa::VEXA_TARGET
{

// The double-precision hypotenuse of two floats neither overflows nor loses a bit that a float would hold.
inline double magnitude(ComplexFloat z)
{
    return std::sqrt(double{z.real} * z.real + double{z.imaginary} * z.imaginary);
}
inline double power(ComplexFloat z)
{
    return double{z.real} * z.real + double{z.imaginary} * z.imaginary;
}

// Rounded by the half already added, 0 below 0 and for no number, 255 above.
inline uint8_t clampToByte(double x)
{
    x = x > 0.0 ? x : 0.0;
    x = x < 255.0 ? x : 255.0;
    return static_cast<uint8_t>(static_cast<int32_t>(x));
}

// To bytes, straight.

inline void wordToByte(const void* source, void* dest, int32_t n, const ScaleRecord& scale)
{
    const int32_t shift = scale.shift & 31;
    const int32_t low = scale.low;
    if (shift <= 8) { // the byte that is kept comes from the low 16 bits of the difference
        const auto low16 = static_cast<uint16_t>(low);
        convertLongRow<uint16_t, uint8_t>(
            source, dest, n, [=](uint16_t x) { return static_cast<uint16_t>(x - low16) >> shift; });
    } else {
        convertRow<int16_t, uint8_t>(source, dest, n,
                                     [=](int16_t x) { return wrapSubtract(x, low) >> shift; });
    }
}

inline void dwordToByte(const void* source, void* dest, int32_t n, const ScaleRecord& scale)
{
    const int32_t shift = scale.shift & 31;
    const int32_t low = scale.low;
    convertRow<int32_t, uint8_t>(source, dest, n, [=](int32_t x) { return wrapSubtract(x, low) >> shift; });
}

// floatToByte for as many whole vectors as there are: gives the number of pixels done. Prefetching across the page that
// the processor's own prefetcher stops at is worth a quarter of the time on a large image.
#if VEXA_LEVEL == 3
inline int32_t floatVectorsToByte(const uint8_t* source, uint8_t* dest, int32_t n, double offset, double gain)
{
    const __m512d offsets = _mm512_set1_pd(offset);
    const __m512d gains = _mm512_set1_pd(gain);
    const __m512d half = _mm512_set1_pd(0.5);
    const __m512d top = _mm512_set1_pd(255.0);
    // What is no number passes the minimum as it is, and becomes the most negative integer, and so 0.
    const auto eight = [&](const uint8_t* floats) {
        const __m512d x = _mm512_cvtps_pd(
            _mm256_castsi256_ps(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(floats))));
        const __m512d scaled = _mm512_add_pd(_mm512_mul_pd(_mm512_sub_pd(x, offsets), gains), half);
        return _mm512_cvttpd_epi32(_mm512_min_pd(top, scaled));
    };
    const __m512i order = _mm512_setr_epi32(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15);
    int32_t i = 0;
    for (; i <= n - 64; i += 64) {
        const uint8_t* in = source + int64_t{i} * 4;
        __m512i sixteen[4];
        for (int32_t k = 0; k < 4; ++k, in += 64) {
            _mm_prefetch(reinterpret_cast<const char*>(in + kPrefetchBytes), _MM_HINT_T0);
            sixteen[k] = _mm512_inserti64x4(_mm512_castsi256_si512(eight(in)), eight(in + 32), 1);
        }
        const __m512i packed = _mm512_packus_epi16(_mm512_packs_epi32(sixteen[0], sixteen[1]),
                                                   _mm512_packs_epi32(sixteen[2], sixteen[3]));
        _mm512_storeu_si512(dest + i, _mm512_permutexvar_epi32(order, packed));
    }
    return i;
}
#elif VEXA_LEVEL == 2
inline int32_t floatVectorsToByte(const uint8_t* source, uint8_t* dest, int32_t n, double offset, double gain)
{
    const __m256d offsets = _mm256_set1_pd(offset);
    const __m256d gains = _mm256_set1_pd(gain);
    const __m256d half = _mm256_set1_pd(0.5);
    const __m256d top = _mm256_set1_pd(255.0);
    const auto four = [&](const uint8_t* floats) {
        const __m256d x =
            _mm256_cvtps_pd(_mm_castsi128_ps(_mm_loadu_si128(reinterpret_cast<const __m128i*>(floats))));
        const __m256d scaled = _mm256_add_pd(_mm256_mul_pd(_mm256_sub_pd(x, offsets), gains), half);
        return _mm256_cvttpd_epi32(_mm256_min_pd(top, scaled));
    };
    const __m256i order = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
    int32_t i = 0;
    for (; i <= n - 32; i += 32) {
        const uint8_t* in = source + int64_t{i} * 4;
        __m256i eight[4];
        for (int32_t k = 0; k < 4; ++k, in += 32) {
            _mm_prefetch(reinterpret_cast<const char*>(in + kPrefetchBytes), _MM_HINT_T0);
            eight[k] = _mm256_inserti128_si256(_mm256_castsi128_si256(four(in)), four(in + 16), 1);
        }
        const __m256i packed = _mm256_packus_epi16(_mm256_packs_epi32(eight[0], eight[1]),
                                                   _mm256_packs_epi32(eight[2], eight[3]));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(dest + i), _mm256_permutevar8x32_epi32(packed, order));
    }
    return i;
}
#else
inline int32_t floatVectorsToByte(const uint8_t*, uint8_t*, int32_t, double, double)
{
    return 0;
}
#endif

inline void floatToByte(const void* source, void* dest, int32_t n, const ScaleRecord& scale)
{
    const double offset = scale.offset;
    const double gain = scale.gain;
    const auto* in = static_cast<const uint8_t*>(source);
    auto* out = static_cast<uint8_t*>(dest);
    const int32_t done =
        in == out || lieApart(in, int64_t{n} * 4, out, n) ? floatVectorsToByte(in, out, n, offset, gain) : 0;
    convertRow<float, uint8_t>(in + int64_t{done} * 4, out + done, n - done,
                               [=](float x) { return clampToByte((x - offset) * gain + 0.5); });
}

inline void doubleToByte(const void* source, void* dest, int32_t n, const ScaleRecord& scale)
{
    const double offset = scale.offset;
    const double gain = scale.gain;
    // Required: the low byte, not the nearest one.
    convertRow<double, uint8_t>(source, dest, n,
                                [=](double x) { return truncToInt32((x - offset) * gain + 0.5); });
}

inline void magnitudeToByte(const void* source, void* dest, int32_t n, const ScaleRecord& scale)
{
    const double offset = scale.offset;
    const double gain = scale.gain;
    convertRow<ComplexFloat, uint8_t>(
        source, dest, n, [=](ComplexFloat z) { return clampToByte((magnitude(z) - offset) * gain + 0.5); });
}

inline void powerToByte(const void* source, void* dest, int32_t n, const ScaleRecord& scale)
{
    const double offset = scale.offset;
    const double gain = scale.gain;
    convertRow<ComplexFloat, uint8_t>(
        source, dest, n, [=](ComplexFloat z) { return clampToByte((power(z) - offset) * gain + 0.5); });
}

// The other straight pairs.

inline void byteToWord(const void* source, void* dest, int32_t n, const ScaleRecord& scale)
{
    const int32_t shift = scale.shift & 31;
    const auto low = static_cast<uint32_t>(scale.low);
    convertRow<uint8_t, uint16_t>(source, dest, n, [=](uint8_t x) { return (uint32_t{x} << shift) + low; });
}

inline void floatToDouble(const void* source, void* dest, int32_t n, const ScaleRecord&)
{
    convertRow<float, double>(source, dest, n, [](float x) { return double{x}; });
}

inline void doubleToFloat(const void* source, void* dest, int32_t n, const ScaleRecord&)
{
    convertRow<double, float>(source, dest, n, [](double x) { return static_cast<float>(x); });
}

// Any type to floats, floats to any type.

template <typename From>
inline void numberToFloat(const void* source, void* dest, int32_t n, const ScaleRecord&)
{
    convertLongRow<From, float>(source, dest, n, [](From x) { return static_cast<float>(x); });
}

template <int32_t ComplexMode>
inline void complexToFloat(const void* source, void* dest, int32_t n, const ScaleRecord&)
{
    convertRow<ComplexFloat, float>(source, dest, n, [](ComplexFloat z) {
        if constexpr (ComplexMode == 1)
            return z.real;
        else if constexpr (ComplexMode == 2)
            return z.imaginary;
        else if constexpr (ComplexMode == 3)
            return static_cast<float>(power(z));
        else
            return static_cast<float>(magnitude(z));
    });
}

inline void doubleComplexToFloat(const void* source, void* dest, int32_t n, const ScaleRecord&)
{
    convertRow<ComplexDouble, float>(
        source, dest, n, [](ComplexDouble z) { return static_cast<float>(std::hypot(z.real, z.imaginary)); });
}

inline void scaleFloat(const void* source, void* dest, int32_t n, const ScaleRecord& scale)
{
    const double offset = scale.offset;
    const double gain = scale.gain;
    convertRow<float, float>(source, dest, n, [=](float x) { return (x - offset) * gain; });
}

template <typename To>
inline void floatToInteger(const void* source, void* dest, int32_t n, const ScaleRecord&)
{
    convertRow<float, To>(source, dest, n, [](float x) { return truncToInt32(x); });
}

inline void floatToReal(const void* source, void* dest, int32_t n, const ScaleRecord&)
{
    convertRow<float, ComplexFloat>(source, dest, n, [](float x) { return ComplexFloat{x, 0.0F}; });
}

inline void floatToImaginary(const void* source, void* dest, int32_t n, const ScaleRecord&)
{
    convertRow<float, ComplexFloat>(source, dest, n, [](float x) { return ComplexFloat{0.0F, x}; });
}

inline void floatToDoubleReal(const void* source, void* dest, int32_t n, const ScaleRecord&)
{
    convertRow<float, ComplexDouble>(source, dest, n, [](float x) { return ComplexDouble{x, 0.0}; });
}

inline constexpr ConversionRows kConversionRows = {
    .wordToByte = wordToByte,
    .dwordToByte = dwordToByte,
    .floatToByte = floatToByte,
    .doubleToByte = doubleToByte,
    .magnitudeToByte = magnitudeToByte,
    .powerToByte = powerToByte,
    .byteToWord = byteToWord,
    .floatToDouble = floatToDouble,
    .doubleToFloat = doubleToFloat,
    .byteToFloat = numberToFloat<uint8_t>,
    .signedByteToFloat = numberToFloat<int8_t>,
    .wordToFloat = numberToFloat<int16_t>,
    .dwordToFloat = numberToFloat<int32_t>,
    .complexToFloat = {complexToFloat<0>, complexToFloat<1>, complexToFloat<2>, complexToFloat<3>},
    .doubleComplexToFloat = doubleComplexToFloat,
    .scaleFloat = scaleFloat,
    .floatToByteLow = floatToInteger<uint8_t>,
    .floatToWord = floatToInteger<uint16_t>,
    .floatToDword = floatToInteger<int32_t>,
    .floatToReal = floatToReal,
    .floatToImaginary = floatToImaginary,
    .floatToDoubleReal = floatToDoubleReal,
};

} // namespace vexa::VEXA_TARGET
