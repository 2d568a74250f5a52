// Rows of scaled images. Compiled once per instruction set, hence no include guard.

namespace vexa::VEXA_TARGET
{
namespace
{

// dest[i] = (two by two bytes + 2) >> 2.
inline void halveRows(const uint8_t* upper, const uint8_t* lower, uint8_t* dest, int32_t n)
{
    int32_t i = 0;
#if VEXA_LEVEL >= 3
    const __m512i ones = _mm512_set1_epi8(1);
    const __m512i two = _mm512_set1_epi16(2);
    const auto means = [&](int32_t at) {
        const __m512i a = _mm512_maddubs_epi16(_mm512_loadu_si512(upper + at), ones);
        const __m512i b = _mm512_maddubs_epi16(_mm512_loadu_si512(lower + at), ones);
        return _mm512_cvtepi16_epi8(_mm512_srli_epi16(_mm512_add_epi16(_mm512_add_epi16(a, b), two), 2));
    };
    for (; i + 64 <= n; i += 64) {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(dest + i), means(2 * i));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(dest + i + 32), means(2 * i + 64));
    }
#elif VEXA_LEVEL >= 2
    const __m256i ones = _mm256_set1_epi8(1);
    const __m256i two = _mm256_set1_epi16(2);
    const auto means = [&](int32_t at) {
        const auto load = [at](const uint8_t* row) {
            return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(row + at));
        };
        const __m256i a = _mm256_maddubs_epi16(load(upper), ones);
        const __m256i b = _mm256_maddubs_epi16(load(lower), ones);
        return _mm256_srli_epi16(_mm256_add_epi16(_mm256_add_epi16(a, b), two), 2);
    };
    for (; i + 32 <= n; i += 32) {
        const __m256i both = _mm256_packus_epi16(means(2 * i), means(2 * i + 32));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(dest + i), _mm256_permute4x64_epi64(both, 0xD8));
    }
#endif
    for (; i < n; ++i)
        dest[i] = static_cast<uint8_t>(
            (upper[2 * i] + upper[2 * i + 1] + lower[2 * i] + lower[2 * i + 1] + 2) >> 2);
}

inline void startCell(const float* line, const float* carry, float* sum, int64_t n)
{
    for (int64_t i = 0; i < n; ++i)
        sum[i] = line[i] - carry[i];
}

inline void addLine(const float* line, float times, float* sum, int64_t n)
{
    for (int64_t i = 0; i < n; ++i)
        sum[i] += line[i] * times;
}

// The part f of the last row goes into this cell, and is carried so that the next cell leaves it out. sum
// becomes the cell's mean.
inline void endCell(const float* line, double f, double weight, float* carry, float* sum, int64_t n)
{
    for (int64_t i = 0; i < n; ++i) {
        carry[i] = static_cast<float>(line[i] * f);
        sum[i] = static_cast<float>((carry[i] + sum[i]) * weight);
    }
}

inline constexpr ScaleRows kScaleRows = {halveRows, startCell, addLine, endCell};

} // namespace
} // namespace vexa::VEXA_TARGET
