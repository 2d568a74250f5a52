// What the vectors of an instruction set do, under names that are the same for all sets. Compiled once per instruction set,
// hence no include guard.

#if VEXA_HAS_X86_SETS

namespace vexa::VEXA_TARGET
{
namespace
{

#if VEXA_LEVEL >= 3
struct Set {
    using Vector = __m512i;
    static Vector load(const void* from) { return _mm512_loadu_si512(from); }
    static void store(void* to, Vector v) { _mm512_store_si512(to, v); }
    static Vector zero() { return _mm512_setzero_si512(); }
    static Vector spread(int32_t x) { return _mm512_set1_epi32(x); }
    static Vector spreadWord(int16_t x) { return _mm512_set1_epi16(x); }
    static Vector add16(Vector a, Vector b) { return _mm512_add_epi16(a, b); }
    static Vector add32(Vector a, Vector b) { return _mm512_add_epi32(a, b); }
    static Vector scaled32(Vector a, float by)
    {
        return _mm512_cvttps_epi32(_mm512_mul_ps(_mm512_cvtepi32_ps(a), _mm512_set1_ps(by)));
    }
    template <int32_t kBy>
    static Vector shiftRight32(Vector a)
    {
        return _mm512_srai_epi32(a, kBy);
    }
    static Vector pack32(Vector low, Vector high) { return _mm512_packs_epi32(low, high); }
    static Vector subtract16(Vector a, Vector b) { return _mm512_sub_epi16(a, b); }
    static Vector most16(Vector a, Vector b) { return _mm512_max_epi16(a, b); }
    static Vector least8(Vector a, Vector b) { return _mm512_min_epu8(a, b); }
    static Vector exclusiveOr(Vector a, Vector b) { return _mm512_xor_si512(a, b); }
    static Vector highProduct16(Vector a, Vector b) { return _mm512_mulhi_epu16(a, b); }
    static Vector shiftRight16(Vector a, __m128i by) { return _mm512_srl_epi16(a, by); }
    static Vector signs16(Vector a) { return _mm512_srai_epi16(a, 15); }
    static Vector pack16(Vector low, Vector high) { return _mm512_packus_epi16(low, high); }
    static Vector joinLow8(Vector a, Vector b) { return _mm512_unpacklo_epi8(a, b); }
    static Vector joinHigh8(Vector a, Vector b) { return _mm512_unpackhi_epi8(a, b); }
    static Vector joinLow16(Vector a, Vector b) { return _mm512_unpacklo_epi16(a, b); }
    static Vector joinHigh16(Vector a, Vector b) { return _mm512_unpackhi_epi16(a, b); }
    static Vector byteProducts(Vector pixels, Vector weights)
    {
        return _mm512_maddubs_epi16(pixels, weights);
    }
    static Vector addBytes(Vector sum, Vector pixels, Vector weights)
    {
        return _mm512_dpbusd_epi32(sum, pixels, weights);
    }
    static Vector addWords(Vector sum, Vector pixels, Vector weights)
    {
        return _mm512_dpwssd_epi32(sum, pixels, weights);
    }
    // Words 0 to 7 of each 16 pixels, and 8 to 15, in the order of the pixels.
    static void storeWords(int16_t* to, Vector low, Vector high)
    {
        store(to, _mm512_permutex2var_epi64(low, _mm512_setr_epi64(0, 1, 8, 9, 2, 3, 10, 11), high));
        store(to + 32, _mm512_permutex2var_epi64(low, _mm512_setr_epi64(4, 5, 12, 13, 6, 7, 14, 15), high));
    }
    // Sums 0 to 3 of each 16 pixels, 4 to 7, ... in the order of the pixels.
    static void storeSums(int32_t* to, const int32_t* from)
    {
        const Vector a = load(from);
        const Vector b = load(from + 16);
        const Vector c = load(from + 32);
        const Vector d = load(from + 48);
        const Vector abLow = _mm512_shuffle_i32x4(a, b, 0x44);
        const Vector abHigh = _mm512_shuffle_i32x4(a, b, 0xEE);
        const Vector cdLow = _mm512_shuffle_i32x4(c, d, 0x44);
        const Vector cdHigh = _mm512_shuffle_i32x4(c, d, 0xEE);
        store(to, _mm512_shuffle_i32x4(abLow, cdLow, 0x88));
        store(to + 16, _mm512_shuffle_i32x4(abLow, cdLow, 0xDD));
        store(to + 32, _mm512_shuffle_i32x4(abHigh, cdHigh, 0x88));
        store(to + 48, _mm512_shuffle_i32x4(abHigh, cdHigh, 0xDD));
    }
};
#elif VEXA_LEVEL >= 2
struct Set {
    using Vector = __m256i;
    static Vector load(const void* from) { return _mm256_loadu_si256(static_cast<const Vector*>(from)); }
    static void store(void* to, Vector v) { _mm256_store_si256(static_cast<Vector*>(to), v); }
    static Vector zero() { return _mm256_setzero_si256(); }
    static Vector spread(int32_t x) { return _mm256_set1_epi32(x); }
    static Vector spreadWord(int16_t x) { return _mm256_set1_epi16(x); }
    static Vector add16(Vector a, Vector b) { return _mm256_add_epi16(a, b); }
    static Vector add32(Vector a, Vector b) { return _mm256_add_epi32(a, b); }
    static Vector scaled32(Vector a, float by)
    {
        return _mm256_cvttps_epi32(_mm256_mul_ps(_mm256_cvtepi32_ps(a), _mm256_set1_ps(by)));
    }
    template <int32_t kBy>
    static Vector shiftRight32(Vector a)
    {
        return _mm256_srai_epi32(a, kBy);
    }
    static Vector pack32(Vector low, Vector high) { return _mm256_packs_epi32(low, high); }
    static Vector subtract16(Vector a, Vector b) { return _mm256_sub_epi16(a, b); }
    static Vector most16(Vector a, Vector b) { return _mm256_max_epi16(a, b); }
    static Vector least8(Vector a, Vector b) { return _mm256_min_epu8(a, b); }
    static Vector exclusiveOr(Vector a, Vector b) { return _mm256_xor_si256(a, b); }
    static Vector highProduct16(Vector a, Vector b) { return _mm256_mulhi_epu16(a, b); }
    static Vector shiftRight16(Vector a, __m128i by) { return _mm256_srl_epi16(a, by); }
    static Vector signs16(Vector a) { return _mm256_srai_epi16(a, 15); }
    static Vector pack16(Vector low, Vector high) { return _mm256_packus_epi16(low, high); }
    static Vector joinLow8(Vector a, Vector b) { return _mm256_unpacklo_epi8(a, b); }
    static Vector joinHigh8(Vector a, Vector b) { return _mm256_unpackhi_epi8(a, b); }
    static Vector joinLow16(Vector a, Vector b) { return _mm256_unpacklo_epi16(a, b); }
    static Vector joinHigh16(Vector a, Vector b) { return _mm256_unpackhi_epi16(a, b); }
    static Vector byteProducts(Vector pixels, Vector weights)
    {
        return _mm256_maddubs_epi16(pixels, weights);
    }
    static Vector addWords(Vector sum, Vector pixels, Vector weights)
    {
        return _mm256_add_epi32(sum, _mm256_madd_epi16(pixels, weights));
    }
    static void storeWords(int16_t* to, Vector low, Vector high)
    {
        store(to, _mm256_permute2x128_si256(low, high, 0x20));
        store(to + 16, _mm256_permute2x128_si256(low, high, 0x31));
    }
    static void storeSums(int32_t* to, const int32_t* from)
    {
        const Vector a = load(from);
        const Vector b = load(from + 8);
        const Vector c = load(from + 16);
        const Vector d = load(from + 24);
        store(to, _mm256_permute2x128_si256(a, b, 0x20));
        store(to + 8, _mm256_permute2x128_si256(c, d, 0x20));
        store(to + 16, _mm256_permute2x128_si256(a, b, 0x31));
        store(to + 24, _mm256_permute2x128_si256(c, d, 0x31));
    }
};
#else
struct Set {
    using Vector = __m128i;
    static Vector load(const void* from) { return _mm_loadu_si128(static_cast<const Vector*>(from)); }
    static void store(void* to, Vector v) { _mm_store_si128(static_cast<Vector*>(to), v); }
    static Vector zero() { return _mm_setzero_si128(); }
    static Vector spread(int32_t x) { return _mm_set1_epi32(x); }
    static Vector add16(Vector a, Vector b) { return _mm_add_epi16(a, b); }
    static Vector add32(Vector a, Vector b) { return _mm_add_epi32(a, b); }
    static Vector scaled32(Vector a, float by)
    {
        return _mm_cvttps_epi32(_mm_mul_ps(_mm_cvtepi32_ps(a), _mm_set1_ps(by)));
    }
    template <int32_t kBy>
    static Vector shiftRight32(Vector a)
    {
        return _mm_srai_epi32(a, kBy);
    }
    static Vector pack32(Vector low, Vector high) { return _mm_packs_epi32(low, high); }
    static Vector pack16(Vector low, Vector high) { return _mm_packus_epi16(low, high); }
    static Vector least8(Vector a, Vector b) { return _mm_min_epu8(a, b); }
    static Vector joinLow8(Vector a, Vector b) { return _mm_unpacklo_epi8(a, b); }
    static Vector joinHigh8(Vector a, Vector b) { return _mm_unpackhi_epi8(a, b); }
    static Vector joinLow16(Vector a, Vector b) { return _mm_unpacklo_epi16(a, b); }
    static Vector joinHigh16(Vector a, Vector b) { return _mm_unpackhi_epi16(a, b); }
    static Vector addWords(Vector sum, Vector pixels, Vector weights)
    {
        return _mm_add_epi32(sum, _mm_madd_epi16(pixels, weights));
    }
    static void storeSums(int32_t* to, const int32_t* from)
    {
        for (int32_t i = 0; i < 16; i += 4)
            store(to + i, load(from + i));
    }
};
#endif

} // namespace
} // namespace vexa::VEXA_TARGET

#endif
