// Sums of the columns and rows of bytes. Compiled once per instruction set, hence no include guard.

namespace vexa::VEXA_TARGET
{

// The sum of n bytes.
inline uint32_t sumBytes(const uint8_t* bytes, int32_t n)
{
    uint32_t sum = 0;
    int32_t i = 0;
#if VEXA_LEVEL >= 3
    __m512i sums = _mm512_setzero_si512();
    for (; i + 64 <= n; i += 64)
        sums = _mm512_add_epi64(sums, _mm512_sad_epu8(_mm512_loadu_si512(bytes + i), _mm512_setzero_si512()));
    uint64_t parts[8];
    _mm512_storeu_si512(parts, sums);
    for (const uint64_t part : parts)
        sum += static_cast<uint32_t>(part);
#elif VEXA_HAS_X86_SETS
    __m128i sums = _mm_setzero_si128();
    for (; i + 16 <= n; i += 16) {
        const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes + i));
        sums = _mm_add_epi64(sums, _mm_sad_epu8(v, _mm_setzero_si128()));
    }
    uint64_t parts[2];
    _mm_storeu_si128(reinterpret_cast<__m128i*>(parts), sums);
    sum = static_cast<uint32_t>(parts[0] + parts[1]);
#endif
    for (; i < n; ++i)
        sum += bytes[i];
    return sum;
}

// Adds four rows of n bytes to sums of 16 bits.
inline void addFourRows(const uint8_t* const* rows, int32_t n, uint16_t* sums)
{
    const uint8_t* const a = rows[0];
    const uint8_t* const b = rows[1];
    const uint8_t* const c = rows[2];
    const uint8_t* const d = rows[3];
    for (int32_t i = 0; i < n; ++i)
        sums[i] = static_cast<uint16_t>(sums[i] + a[i] + b[i] + c[i] + d[i]);
}

inline void addRow(const uint8_t* row, int32_t n, uint16_t* sums)
{
    for (int32_t i = 0; i < n; ++i)
        sums[i] = static_cast<uint16_t>(sums[i] + row[i]);
}

inline constexpr WindowSumRows kWindowSums = {sumBytes, addFourRows, addRow};

} // namespace vexa::VEXA_TARGET
