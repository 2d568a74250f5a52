// Pixels through tables. Compiled once per instruction set, hence no include guard.

#include "operators/row_loops.h"

namespace vexa::VEXA_TARGET
{

// True where the rows are the same or do not touch: whole vectors may then be read before they are written.
inline bool separate(const uint8_t* dest, const uint8_t* source, int32_t n)
{
    const auto d = reinterpret_cast<uintptr_t>(dest);
    const auto s = reinterpret_cast<uintptr_t>(source);
    const auto bytes = static_cast<uintptr_t>(n);
    return d == s || (d > s ? d - s : s - d) >= bytes;
}

inline void mapBytesOneByOne(const uint8_t* in, uint8_t* out, int32_t n, const uint8_t* table)
{
    for (int32_t i = 0; i < n; ++i)
        out[i] = table[in[i]];
}

#if VEXA_LEVEL == 3
// 256 entries are four registers: two permutes, one for each half of the table, and the top bit chooses.
struct VectorTable {
    static constexpr int32_t kWidth = 64;
    __m512i quarter[4];

    explicit VectorTable(const ByteMap& map)
    {
        for (int32_t i = 0; i < 4; ++i)
            quarter[i] = _mm512_load_si512(map.table + 64 * i);
    }
    void map(const uint8_t* in, uint8_t* out) const
    {
        const __m512i x = _mm512_loadu_si512(in);
        const __m512i low = _mm512_permutex2var_epi8(quarter[0], x, quarter[1]);
        const __m512i high = _mm512_permutex2var_epi8(quarter[2], x, quarter[3]);
        _mm512_storeu_si512(out, _mm512_mask_blend_epi8(_mm512_movepi8_mask(x), low, high));
    }
};
#elif VEXA_LEVEL == 2
// A shuffle looks 16 entries up and gives 0 where the top bit of the index is set. Counting the index down by
// 16 with saturation, step k adds the difference of table parts k and k - 1 until the index is used up: what
// stands then is the entry. The halves of the table are two such chains, of which one gives 0.
struct VectorTable {
    static constexpr int32_t kWidth = 64;
    alignas(32) uint8_t steps[16][16];

    explicit VectorTable(const ByteMap& map)
    {
        for (int32_t part = 0; part < 16; ++part)
            for (int32_t i = 0; i < 16; ++i) {
                const int32_t entry = 16 * part + i;
                steps[part][i] =
                    static_cast<uint8_t>(map.table[entry] ^ (part % 8 == 0 ? 0 : map.table[entry - 16]));
            }
    }
    void map(const uint8_t* in, uint8_t* out) const
    {
        const __m256i half = _mm256_set1_epi8(-128);
        const __m256i step = _mm256_set1_epi8(16);
        __m256i x0 = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(in));
        __m256i x1 = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(in + 32));
        __m256i h0 = _mm256_xor_si256(x0, half);
        __m256i h1 = _mm256_xor_si256(x1, half);
        __m256i y0 = _mm256_setzero_si256();
        __m256i y1 = y0;
        for (int32_t part = 0; part < 8; ++part) {
            const __m256i lower = broadcast(steps[part]);
            const __m256i upper = broadcast(steps[part + 8]);
            y0 = _mm256_xor_si256(y0, _mm256_shuffle_epi8(lower, x0));
            y1 = _mm256_xor_si256(y1, _mm256_shuffle_epi8(lower, x1));
            y0 = _mm256_xor_si256(y0, _mm256_shuffle_epi8(upper, h0));
            y1 = _mm256_xor_si256(y1, _mm256_shuffle_epi8(upper, h1));
            x0 = _mm256_subs_epi8(x0, step);
            x1 = _mm256_subs_epi8(x1, step);
            h0 = _mm256_subs_epi8(h0, step);
            h1 = _mm256_subs_epi8(h1, step);
        }
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out), y0);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + 32), y1);
    }

private:
    static __m256i broadcast(const uint8_t* part)
    {
        return _mm256_broadcastsi128_si256(_mm_load_si128(reinterpret_cast<const __m128i*>(part)));
    }
};
#endif

// dest = table[source].
inline void mapBytes(const void* source, void* dest, int32_t n, void* parameter)
{
    const auto& map = *static_cast<const ByteMap*>(parameter);
    const auto* in = static_cast<const uint8_t*>(source);
    auto* out = static_cast<uint8_t*>(dest);
    int32_t done = 0;
#if VEXA_LEVEL >= 2
    if (n >= 4 * VectorTable::kWidth && separate(out, in, n)) {
        const VectorTable vectors(map);
        for (; done <= n - VectorTable::kWidth; done += VectorTable::kWidth)
            vectors.map(in + done, out + done);
    }
#endif
    mapBytesOneByOne(in + done, out + done, n - done, map.table);
}

// A table of two values, one of them from low on for width + 1 entries: a compare does the look-up.
inline void mapBand(const void* source, void* dest, int32_t n, void* parameter)
{
    const auto& map = *static_cast<const ByteMap*>(parameter);
    const uint8_t low = map.low;
    const uint8_t width = map.width;
    const uint8_t inside = map.inside;
    const uint8_t outside = map.outside;
    mapRow<uint8_t>(source, dest, n, [=](int32_t x) -> uint8_t {
        return static_cast<uint8_t>(x - low) <= width ? inside : outside;
    });
}

// dest = table[source & mask], the table in the element's own type.
template <typename Element>
void mapElements(const void* source, void* dest, int32_t n, void* parameter)
{
    const auto& map = *static_cast<const ElementMap*>(parameter);
    const auto* table = static_cast<const Element*>(map.table);
    const auto* in = static_cast<const uint8_t*>(source);
    auto* out = static_cast<uint8_t*>(dest);
    for (int32_t i = 0; i < n; ++i, in += sizeof(Element), out += sizeof(Element)) {
        Element value;
        std::memcpy(&value, in, sizeof value);
        std::memcpy(out, &table[value & map.mask], sizeof value);
    }
}

// The three colour bytes of each pixel through their tables; Bytes per pixel, red, green and blue at their
// places. What else a pixel holds is copied.
template <int32_t Bytes, int32_t Red, int32_t Green, int32_t Blue>
void mapColors(const void* source, void* dest, int32_t n, void* parameter)
{
    const auto& map = *static_cast<const ColorMap*>(parameter);
    const auto* in = static_cast<const uint8_t*>(source);
    auto* out = static_cast<uint8_t*>(dest);
    for (int32_t i = 0; i < n; ++i, in += Bytes, out += Bytes) {
        const uint8_t red = map.red[in[Red]];
        const uint8_t green = map.green[in[Green]];
        const uint8_t blue = map.blue[in[Blue]];
        if constexpr (Bytes == 4)
            out[0] = in[0];
        out[Red] = red;
        out[Green] = green;
        out[Blue] = blue;
    }
}

inline constexpr UnaryRowFilter kMapBytes = mapBytes;
inline constexpr UnaryRowFilter kMapBand = mapBand;
inline constexpr UnaryRowFilter kMapWords = mapElements<uint16_t>;
inline constexpr UnaryRowFilter kMapDwords = mapElements<uint32_t>;
inline constexpr UnaryRowFilter kMapRgb32 = mapColors<4, 1, 2, 3>;
inline constexpr UnaryRowFilter kMapBgr24 = mapColors<3, 2, 1, 0>;

} // namespace vexa::VEXA_TARGET
