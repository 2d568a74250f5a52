// Minima and maxima of vectors of pixels. Compiled once per instruction set, hence no include guard.

namespace vexa::VEXA_TARGET
{
namespace
{

// kCount pixels. low(a, b) is b < a ? b : a and high(a, b) is a < b ? b : a, as std::min and std::max choose.
// odd is not 0 where a pixel is no number, or -0.
template <typename Pixel>
struct Lanes;

#if VEXA_LEVEL >= 3

template <>
struct Lanes<uint8_t> {
    static constexpr int32_t kCount = 64;
    __m512i value;

    static Lanes load(const uint8_t* from) { return {_mm512_loadu_si512(from)}; }
    void store(uint8_t* to) const { _mm512_storeu_si512(to, value); }
    static Lanes low(Lanes a, Lanes b) { return {_mm512_min_epu8(a.value, b.value)}; }
    static Lanes high(Lanes a, Lanes b) { return {_mm512_max_epu8(a.value, b.value)}; }
    static uint32_t odd(Lanes) { return 0; }
};

template <>
struct Lanes<float> {
    static constexpr int32_t kCount = 16;
    __m512 value;

    static Lanes load(const float* from) { return {_mm512_loadu_ps(from)}; }
    void store(float* to) const { _mm512_storeu_ps(to, value); }
    static Lanes low(Lanes a, Lanes b) { return {_mm512_min_ps(b.value, a.value)}; }
    static Lanes high(Lanes a, Lanes b) { return {_mm512_max_ps(b.value, a.value)}; }
    static uint32_t odd(Lanes a)
    {
        constexpr int32_t kNoNumberOrMinusZero = 0x85;
        return _mm512_fpclass_ps_mask(a.value, kNoNumberOrMinusZero);
    }
};

#elif VEXA_LEVEL >= 2

template <>
struct Lanes<uint8_t> {
    static constexpr int32_t kCount = 32;
    __m256i value;

    static Lanes load(const uint8_t* from)
    {
        return {_mm256_loadu_si256(reinterpret_cast<const __m256i*>(from))};
    }
    void store(uint8_t* to) const { _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), value); }
    static Lanes low(Lanes a, Lanes b) { return {_mm256_min_epu8(a.value, b.value)}; }
    static Lanes high(Lanes a, Lanes b) { return {_mm256_max_epu8(a.value, b.value)}; }
    static uint32_t odd(Lanes) { return 0; }
};

template <>
struct Lanes<float> {
    static constexpr int32_t kCount = 8;
    __m256 value;

    static Lanes load(const float* from) { return {_mm256_loadu_ps(from)}; }
    void store(float* to) const { _mm256_storeu_ps(to, value); }
    static Lanes low(Lanes a, Lanes b) { return {_mm256_min_ps(b.value, a.value)}; }
    static Lanes high(Lanes a, Lanes b) { return {_mm256_max_ps(b.value, a.value)}; }
    static uint32_t odd(Lanes a)
    {
        const __m256i minusZero =
            _mm256_cmpeq_epi32(_mm256_castps_si256(a.value), _mm256_set1_epi32(INT32_MIN));
        const __m256 noNumber = _mm256_cmp_ps(a.value, a.value, _CMP_UNORD_Q);
        return static_cast<uint32_t>(
            _mm256_movemask_ps(_mm256_or_ps(noNumber, _mm256_castsi256_ps(minusZero))));
    }
};

#else

template <>
struct Lanes<uint8_t> {
    static constexpr int32_t kCount = 16;
    __m128i value;

    static Lanes load(const uint8_t* from)
    {
        return {_mm_loadu_si128(reinterpret_cast<const __m128i*>(from))};
    }
    void store(uint8_t* to) const { _mm_storeu_si128(reinterpret_cast<__m128i*>(to), value); }
    static Lanes low(Lanes a, Lanes b) { return {_mm_min_epu8(a.value, b.value)}; }
    static Lanes high(Lanes a, Lanes b) { return {_mm_max_epu8(a.value, b.value)}; }
    static uint32_t odd(Lanes) { return 0; }
};

template <>
struct Lanes<float> {
    static constexpr int32_t kCount = 4;
    __m128 value;

    static Lanes load(const float* from) { return {_mm_loadu_ps(from)}; }
    void store(float* to) const { _mm_storeu_ps(to, value); }
    static Lanes low(Lanes a, Lanes b) { return {_mm_min_ps(b.value, a.value)}; }
    static Lanes high(Lanes a, Lanes b) { return {_mm_max_ps(b.value, a.value)}; }
    static uint32_t odd(Lanes a)
    {
        const __m128i minusZero = _mm_cmpeq_epi32(_mm_castps_si128(a.value), _mm_set1_epi32(INT32_MIN));
        const __m128 noNumber = _mm_cmpunord_ps(a.value, a.value);
        return static_cast<uint32_t>(_mm_movemask_ps(_mm_or_ps(noNumber, _mm_castsi128_ps(minusZero))));
    }
};

#endif

// The lower one of each pair of pixels into a, the higher one into b.
template <typename Vector>
void sortPair(Vector& a, Vector& b)
{
    const Vector lower = Vector::low(a, b);
    b = Vector::high(a, b);
    a = lower;
}

#if VEXA_LEVEL >= 3
// Minima and maxima of bytes all go through one port; comparisons and choices through others.
inline void sortPair(Lanes<uint8_t>& a, Lanes<uint8_t>& b)
{
    const __mmask64 swapped = _mm512_cmplt_epu8_mask(b.value, a.value);
    const __m512i lower = _mm512_mask_blend_epi8(swapped, a.value, b.value);
    b.value = _mm512_mask_blend_epi8(swapped, b.value, a.value);
    a.value = lower;
}
#endif

} // namespace
} // namespace vexa::VEXA_TARGET
