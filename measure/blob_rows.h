// Compiled once per instruction set, hence no include guard. Row functions of the blob search over plain arrays.

namespace vexa::VEXA_TARGET
{

// The foreground among 64 pixels as one bit each, the first pixel lowest.
#if VEXA_LEVEL == 3
inline __m512i fourTimes(__m128i part)
{
    return _mm512_maskz_broadcast_i32x4(0xFFFF,
                                        part); // the form without a mask leaves g++ 12 with a false warning
}

struct RangeBits {
    explicit RangeBits(const ForegroundSet& set)
        : low(_mm512_set1_epi8(static_cast<char>(set.low))),
          span(_mm512_set1_epi8(static_cast<char>(set.span)))
    {
    }
    uint64_t operator()(const uint8_t* pixels) const
    {
        return _mm512_cmple_epu8_mask(_mm512_sub_epi8(_mm512_loadu_si512(pixels), low), span);
    }
    __m512i low, span;
};

struct AnyBits {
    explicit AnyBits(const ForegroundSet& set)
        : lowHalf(fourTimes(_mm_loadu_si128(reinterpret_cast<const __m128i*>(set.byNibbles.data())))),
          highHalf(fourTimes(_mm_loadu_si128(reinterpret_cast<const __m128i*>(set.byNibbles.data() + 16))))
    {
    }
    uint64_t operator()(const uint8_t* pixels) const
    {
        const __m512i nibble = _mm512_set1_epi8(15);
        const __m512i bit = fourTimes(_mm_set1_epi64x(static_cast<int64_t>(0x8040201008040201)));
        const __m512i p = _mm512_loadu_si512(pixels);
        const __m512i column = _mm512_and_si512(p, nibble);
        const __m512i row = _mm512_and_si512(_mm512_srli_epi16(p, 4), nibble);
        const __m512i members =
            _mm512_mask_blend_epi8(_mm512_movepi8_mask(p), _mm512_shuffle_epi8(lowHalf, column),
                                   _mm512_shuffle_epi8(highHalf, column));
        return _mm512_test_epi8_mask(members, _mm512_shuffle_epi8(bit, row));
    }
    __m512i lowHalf, highHalf;
};
#elif VEXA_LEVEL == 2
inline uint64_t bitsOf(__m256i first, __m256i second)
{
    return static_cast<uint32_t>(_mm256_movemask_epi8(first)) |
           uint64_t{static_cast<uint32_t>(_mm256_movemask_epi8(second))} << 32;
}

inline __m256i load32(const uint8_t* pixels)
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(pixels));
}

struct RangeBits {
    explicit RangeBits(const ForegroundSet& set)
        : low(_mm256_set1_epi8(static_cast<char>(set.low))),
          span(_mm256_set1_epi8(static_cast<char>(set.span)))
    {
    }
    __m256i match(const uint8_t* pixels) const
    {
        const __m256i distance = _mm256_sub_epi8(load32(pixels), low);
        return _mm256_cmpeq_epi8(_mm256_min_epu8(distance, span), distance);
    }
    uint64_t operator()(const uint8_t* pixels) const { return bitsOf(match(pixels), match(pixels + 32)); }
    __m256i low, span;
};

struct AnyBits {
    explicit AnyBits(const ForegroundSet& set)
        : lowHalf(_mm256_broadcastsi128_si256(
              _mm_loadu_si128(reinterpret_cast<const __m128i*>(set.byNibbles.data())))),
          highHalf(_mm256_broadcastsi128_si256(
              _mm_loadu_si128(reinterpret_cast<const __m128i*>(set.byNibbles.data() + 16))))
    {
    }
    __m256i match(const uint8_t* pixels) const
    {
        const __m256i nibble = _mm256_set1_epi8(15);
        const __m256i bits = _mm256_set1_epi64x(static_cast<int64_t>(0x8040201008040201));
        const __m256i p = load32(pixels);
        const __m256i column = _mm256_and_si256(p, nibble);
        const __m256i row = _mm256_and_si256(_mm256_srli_epi16(p, 4), nibble);
        const __m256i members = _mm256_blendv_epi8(_mm256_shuffle_epi8(lowHalf, column),
                                                   _mm256_shuffle_epi8(highHalf, column), p);
        const __m256i bit = _mm256_shuffle_epi8(bits, row);
        return _mm256_cmpeq_epi8(_mm256_and_si256(members, bit), bit);
    }
    uint64_t operator()(const uint8_t* pixels) const { return bitsOf(match(pixels), match(pixels + 32)); }
    __m256i lowHalf, highHalf;
};
#else
struct RangeBits {
    explicit RangeBits(const ForegroundSet& set)
        : low(_mm_set1_epi8(static_cast<char>(set.low))), span(_mm_set1_epi8(static_cast<char>(set.span)))
    {
    }
    uint64_t operator()(const uint8_t* pixels) const
    {
        uint64_t bits = 0;
        for (int32_t i = 0; i < 4; ++i) {
            const __m128i p = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pixels + 16 * i));
            const __m128i distance = _mm_sub_epi8(p, low);
            const __m128i match = _mm_cmpeq_epi8(_mm_min_epu8(distance, span), distance);
            bits |= static_cast<uint64_t>(static_cast<uint32_t>(_mm_movemask_epi8(match))) << (16 * i);
        }
        return bits;
    }
    __m128i low, span;
};

struct AnyBits {
    explicit AnyBits(const ForegroundSet& set) : contains(set.contains.data()) {}
    uint64_t operator()(const uint8_t* pixels) const
    {
        uint64_t bits = 0;
        for (int32_t i = 0; i < 64; ++i)
            bits |= uint64_t{contains[pixels[i]]} << i;
        return bits;
    }
    const bool* contains;
};
#endif

#if VEXA_LEVEL == 3
// The lowest n bits of the lanes, n from 0 to 64.
inline uint64_t lowestLanes(uint64_t lanes, int32_t n)
{
#if defined(__x86_64__)
    return _bzhi_u64(lanes, static_cast<uint32_t>(n));
#else
    return n < 64 ? lanes & ~(~uint64_t{0} << n) : lanes;
#endif
}
#endif

// The sum of n bytes.
inline uint32_t sumBytes(const uint8_t* pixels, int32_t n)
{
#if VEXA_LEVEL == 3
    __m256i sums = _mm256_setzero_si256();
    for (; n > 64; n -= 32, pixels += 32)
        sums = _mm256_add_epi64(sums,
                                _mm256_sad_epu8(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(pixels)),
                                                _mm256_setzero_si256()));
    // 64 pixels or fewer without a branch on their number.
    const uint64_t lanes = lowestLanes(~uint64_t{0}, n);
    const __m256i first = _mm256_maskz_loadu_epi8(static_cast<__mmask32>(lanes), pixels);
    const __m256i second = _mm256_maskz_loadu_epi8(static_cast<__mmask32>(lanes >> 32), pixels + 32);
    sums = _mm256_add_epi64(sums, _mm256_add_epi64(_mm256_sad_epu8(first, _mm256_setzero_si256()),
                                                   _mm256_sad_epu8(second, _mm256_setzero_si256())));
    const __m128i two = _mm_add_epi64(_mm256_castsi256_si128(sums), _mm256_extracti128_si256(sums, 1));
    return static_cast<uint32_t>(_mm_cvtsi128_si32(two)) +
           static_cast<uint32_t>(_mm_cvtsi128_si32(_mm_srli_si128(two, 8)));
#else
    __m128i sums = _mm_setzero_si128();
    for (; n >= 16; n -= 16, pixels += 16)
        sums = _mm_add_epi64(sums, _mm_sad_epu8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(pixels)),
                                                _mm_setzero_si128()));
    if (n >= 8) {
        // The last eight bytes without those that the first eight hold already.
        uint64_t first = 0, last = 0;
        std::memcpy(&first, pixels, 8);
        std::memcpy(&last, pixels + n - 8, 8);
        last = n == 8 ? 0 : last >> (8 * (16 - n));
        sums = _mm_add_epi64(
            sums, _mm_sad_epu8(_mm_set_epi64x(static_cast<int64_t>(last), static_cast<int64_t>(first)),
                               _mm_setzero_si128()));
        n = 0;
    }
    uint32_t sum = 0;
    for (int32_t i = 0; i < n; ++i)
        sum += pixels[i];
    return sum + static_cast<uint32_t>(_mm_cvtsi128_si32(sums)) +
           static_cast<uint32_t>(_mm_cvtsi128_si32(_mm_srli_si128(sums, 8)));
#endif
}

// Appends offset and the places of the bits of a word, in rising order.
inline int32_t* appendPlaces(uint64_t bits, int32_t offset, int32_t* out)
{
#if VEXA_LEVEL == 3
    alignas(64) static constexpr auto kPlaces = [] {
        std::array<uint8_t, 64> places{};
        std::iota(places.begin(), places.end(), uint8_t{0});
        return places;
    }();
    const int32_t n = std::popcount(bits);
    uint8_t places[64];
    _mm512_storeu_si512(places, _mm512_maskz_compress_epi8(bits, _mm512_load_si512(kPlaces.data())));
    for (int32_t i = 0; i < n; i += 16) {
        const __m128i next = _mm_loadu_si128(reinterpret_cast<const __m128i*>(places + i));
        const __m512i wide = _mm512_maskz_cvtepu8_epi32(0xFFFF, next);
        _mm512_storeu_si512(out + i, _mm512_add_epi32(wide, _mm512_set1_epi32(offset)));
    }
    return out + n;
#else
    for (; bits != 0; bits &= bits - 1)
        *out++ = offset + std::countr_zero(bits);
    return out;
#endif
}

// The columns at which the foreground begins and ends, in turn; an end is the column behind the last pixel.
template <typename Bits>
int32_t findBounds(const uint8_t* pixels, int32_t n, int32_t x, const Bits& bitsOf64, const uint8_t* next,
                   int32_t* bounds)
{
    int32_t* out = bounds;
    uint64_t inside = 0;
    const auto scan = [&](uint64_t bits, int32_t at) {
        const uint64_t changes = bits ^ (bits << 1 | inside);
        inside = bits >> 63;
        if (changes != 0)
            out = appendPlaces(changes, at, out);
    };
    int32_t i = 0;
    for (; i + 64 <= n; i += 64) {
        _mm_prefetch(reinterpret_cast<const char*>(next + i), _MM_HINT_T0);
        scan(bitsOf64(pixels + i), x + i);
    }
    if (i < n) {
        uint8_t rest[64] = {};
        std::memcpy(rest, pixels + i, static_cast<std::size_t>(n - i));
        scan(bitsOf64(rest) & ~(~uint64_t{0} << (n - i)), x + i);
    }
    if (inside != 0)
        *out++ = x + n;
    return static_cast<int32_t>(out - bounds);
}

inline int32_t findRuns(const uint8_t* pixels, int32_t n, int32_t x, const ForegroundSet& foreground,
                        const uint8_t* next, int32_t* bounds, ForegroundRun* runs)
{
    const int32_t count = foreground.isRange ? findBounds(pixels, n, x, RangeBits(foreground), next, bounds)
                                             : findBounds(pixels, n, x, AnyBits(foreground), next, bounds);
    for (int32_t i = 0; i < count / 2; ++i) {
        const int32_t first = bounds[2 * i], end = bounds[2 * i + 1];
        runs[i] = {first, end - 1, sumBytes(pixels + (first - x), end - first)};
    }
    return count / 2;
}

#if VEXA_LEVEL == 3
inline void storeLanes(uint8_t* to, uint64_t lanes, uint8_t value)
{
    _mm512_mask_storeu_epi8(to, lanes, _mm512_set1_epi8(static_cast<char>(value)));
}
inline void storeLanes(uint16_t* to, uint64_t lanes, uint16_t value)
{
    _mm512_mask_storeu_epi16(to, static_cast<__mmask32>(lanes),
                             _mm512_set1_epi16(static_cast<int16_t>(value)));
}
inline void storeLanes(int32_t* to, uint64_t lanes, int32_t value)
{
    _mm512_mask_storeu_epi32(to, static_cast<__mmask16>(lanes), _mm512_set1_epi32(value));
}

// The background in one go, the pieces over it: two vectors of each without a branch on its length.
template <typename Pixel>
void paint(const LabelPiece* pieces, int32_t count, int32_t first, int32_t last, Pixel* row)
{
    constexpr int32_t kLanes = 64 / static_cast<int32_t>(sizeof(Pixel));
    constexpr uint64_t kAllLanes = ~uint64_t{0} >> (64 - kLanes);
    const auto lowest = [](int32_t n) { return lowestLanes(kAllLanes, std::clamp(n, 0, 64)); };
    if (first > last)
        return;
    std::memset(row + first, 0, sizeof(Pixel) * static_cast<std::size_t>(last - first + 1));
    for (int32_t i = 0; i < count; ++i) {
        const int32_t from = std::max(pieces[i].first, first), to = std::min(pieces[i].last, last);
        const auto label = static_cast<Pixel>(pieces[i].label);
        int32_t n = to - from + 1;
        if (n < 1)
            continue;
        Pixel* out = row + from;
        for (; n > 2 * kLanes; n -= kLanes, out += kLanes)
            storeLanes(out, kAllLanes, label);
        storeLanes(out, lowest(n), label);
        if (n > kLanes)
            storeLanes(out + kLanes, lowest(n - kLanes), label);
    }
}
#else
// Writes value to columns x to end. Whole vectors overshoot end, but not last: what follows is written later.
template <typename Pixel>
inline void fill(Pixel* row, int32_t x, int32_t end, int32_t last, Pixel value)
{
    constexpr int32_t kLanes = (VEXA_LEVEL == 2 ? 32 : 16) / static_cast<int32_t>(sizeof(Pixel));
    for (; x <= end; x += kLanes) {
        if (x + kLanes - 1 > last) {
            for (; x <= end; ++x)
                row[x] = value;
            return;
        }
        for (int32_t i = 0; i < kLanes; ++i)
            row[x + i] = value;
    }
}

template <typename Pixel>
void paint(const LabelPiece* pieces, int32_t count, int32_t first, int32_t last, Pixel* row)
{
    int32_t x = first;
    for (int32_t i = 0; i < count; ++i) {
        const int32_t from = std::max(pieces[i].first, first), to = std::min(pieces[i].last, last);
        if (from > to)
            continue;
        fill<Pixel>(row, x, from - 1, last, 0);
        fill(row, from, to, last, static_cast<Pixel>(pieces[i].label));
        x = to + 1;
    }
    fill<Pixel>(row, x, last, last, 0);
}
#endif

inline constexpr BlobRows kBlobRows = {findRuns, sumBytes, paint<uint8_t>, paint<uint16_t>, paint<int32_t>};

} // namespace vexa::VEXA_TARGET
