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

// The sum of n bytes.
inline uint32_t sumBytes(const uint8_t* pixels, int32_t n)
{
#if VEXA_LEVEL == 3
    if (n <= 16) {
        const auto lanes = static_cast<__mmask16>((1U << n) - 1);
        const __m128i two = _mm_sad_epu8(_mm_maskz_loadu_epi8(lanes, pixels), _mm_setzero_si128());
        return static_cast<uint32_t>(_mm_cvtsi128_si32(two) + _mm_extract_epi16(two, 4));
    }
    __m512i sums = _mm512_setzero_si512();
    for (; n > 64; n -= 64, pixels += 64)
        sums = _mm512_add_epi64(sums, _mm512_sad_epu8(_mm512_loadu_si512(pixels), _mm512_setzero_si512()));
    const __m512i rest = _mm512_maskz_loadu_epi8(~uint64_t{0} >> (64 - n), pixels);
    sums = _mm512_add_epi64(sums, _mm512_sad_epu8(rest, _mm512_setzero_si512()));
    uint64_t lanes[8];
    _mm512_storeu_si512(lanes, sums);
    return static_cast<uint32_t>(std::accumulate(lanes, lanes + 8, uint64_t{0}));
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

// The columns at which the foreground begins and ends, in turn; an end is the column behind the last pixel.
template <typename Bits>
int32_t findBounds(const uint8_t* pixels, int32_t n, int32_t x, const Bits& bitsOf64, int32_t* bounds)
{
    int32_t* out = bounds;
    uint64_t inside = 0;
    const auto scan = [&](uint64_t bits, int32_t at) {
        for (uint64_t changes = bits ^ (bits << 1 | inside); changes != 0; changes &= changes - 1)
            *out++ = at + std::countr_zero(changes);
        inside = bits >> 63;
    };
    int32_t i = 0;
    for (; i + 64 <= n; i += 64)
        scan(bitsOf64(pixels + i), x + i);
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
                        int32_t* bounds, ForegroundRun* runs)
{
    const int32_t count = foreground.isRange ? findBounds(pixels, n, x, RangeBits(foreground), bounds)
                                             : findBounds(pixels, n, x, AnyBits(foreground), bounds);
    for (int32_t i = 0; i < count / 2; ++i) {
        const int32_t first = bounds[2 * i], end = bounds[2 * i + 1];
        runs[i] = {first, end - 1, sumBytes(pixels + (first - x), end - first)};
    }
    return count / 2;
}

// Writes value to columns x to end. Whole vectors overshoot end, but not last: what follows is written later.
template <typename Pixel>
inline void fill(Pixel* row, int32_t x, int32_t end, int32_t last, Pixel value)
{
    constexpr int32_t kStep = (VEXA_LEVEL == 3   ? 64
                               : VEXA_LEVEL == 2 ? 32
                                                 : 16) /
                              static_cast<int32_t>(sizeof(Pixel));
    for (; x <= end; x += kStep) {
        if (x + kStep - 1 > last) {
            for (; x <= end; ++x)
                row[x] = value;
            return;
        }
        for (int32_t i = 0; i < kStep; ++i)
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

inline constexpr BlobRows kBlobRows = {findRuns, sumBytes, paint<uint8_t>, paint<uint16_t>, paint<int32_t>};

} // namespace vexa::VEXA_TARGET
