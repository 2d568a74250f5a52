// The loops of the correlation. Compiled once per instruction set, hence no include guard.

namespace vexa::VEXA_TARGET
{

inline RowSums sumRow(const uint8_t* pixels, int32_t n)
{
    uint32_t sum = 0, squares = 0;
    for (int32_t i = 0; i < n; ++i) {
        const uint32_t value = pixels[i];
        sum += value;
        squares += value * value;
    }
    return {static_cast<int32_t>(sum), static_cast<int32_t>(squares)};
}

inline void halveRow(const uint8_t* upper, const uint8_t* lower, int32_t n, uint8_t* dest)
{
    int32_t i = 0;
#if VEXA_LEVEL >= 3
    const __m512i ones = _mm512_set1_epi8(1), two = _mm512_set1_epi16(2);
    for (; i + 32 <= n; i += 32) {
        const __m512i a = _mm512_maddubs_epi16(_mm512_loadu_si512(upper + 2 * i), ones);
        const __m512i b = _mm512_maddubs_epi16(_mm512_loadu_si512(lower + 2 * i), ones);
        const __m512i sums = _mm512_add_epi16(_mm512_add_epi16(a, b), two);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(dest + i),
                            _mm512_cvtepi16_epi8(_mm512_srli_epi16(sums, 2)));
    }
#endif
    for (; i < n; ++i)
        dest[i] = static_cast<uint8_t>(
            (upper[2 * i] + upper[2 * i + 1] + lower[2 * i] + lower[2 * i + 1] + 2) >> 2);
}

inline int32_t multiplyWindow(const CorrelationPattern& pattern, const uint8_t* image, int64_t stride)
{
    uint32_t total = 0;
    for (int32_t y = 0; y < pattern.rows; ++y) {
        const uint8_t* p = pattern.pixels + int64_t{y} * pattern.cols;
        const uint8_t* q = image + y * stride;
        int32_t sum = 0; // of less than 2 to the 16 columns; longer rows wrap like the total
        for (int32_t x = 0; x < pattern.cols; ++x)
            sum = static_cast<int32_t>(static_cast<uint32_t>(sum) +
                                       static_cast<uint32_t>(static_cast<int8_t>(p[x]) * q[x]));
        total += static_cast<uint32_t>(sum);
    }
    return static_cast<int32_t>(total);
}

// One position.
inline int32_t windowDifference(const CorrelationPattern& pattern, const uint8_t* image, int64_t stride)
{
    uint32_t total = 0;
    for (int32_t y = 0; y < pattern.rows; ++y) {
        const uint8_t* p = pattern.pixels + int64_t{y} * pattern.cols;
        const uint8_t* q = image + y * stride;
        uint32_t sum = 0;
        for (int32_t x = 0; x < pattern.cols; ++x)
            sum += static_cast<uint32_t>(std::abs(p[x] - q[x]));
        total += sum;
    }
    return static_cast<int32_t>(total);
}

#if VEXA_LEVEL >= 2

// Four pattern bytes against the four at each of kPositions places in one step, sums of 16 bits.
#if VEXA_LEVEL == 3
struct Places {
    static constexpr int32_t kPositions = 32;
    using Words = __m512i;
    using Pixels = __m512i;
    struct Sums {
        __m512i low, high;
    };
    // The bytes at p that n positions of four bytes read, laid out in quarters that overlap.
    static Pixels load(const uint8_t* p, int32_t n)
    {
        const __mmask64 wanted = (uint64_t{1} << (n + 3)) - 1;
        return _mm512_permutexvar_epi64(_mm512_setr_epi64(0, 1, 1, 2, 2, 3, 3, 4),
                                        _mm512_maskz_loadu_epi8(wanted, p));
    }
    static Words add(Words sums, Pixels pixels, int32_t four)
    {
        return _mm512_add_epi16(sums, _mm512_dbsad_epu8(_mm512_set1_epi32(four), pixels, 0x94));
    }
    static Words addSingle(Words sums, const uint8_t* p, int32_t n, uint8_t byte)
    {
        const __m256i q = _mm256_maskz_loadu_epi8(static_cast<__mmask32>((uint64_t{1} << n) - 1), p);
        const __m256i b = _mm256_set1_epi8(static_cast<char>(byte));
        const __m256i d = _mm256_or_si256(_mm256_subs_epu8(q, b), _mm256_subs_epu8(b, q));
        return _mm512_add_epi16(sums, _mm512_cvtepu8_epi16(d));
    }
    static Words zeroWords() { return _mm512_setzero_si512(); }
    static Sums zeroSums() { return {_mm512_setzero_si512(), _mm512_setzero_si512()}; }
    static void widen(Sums& sums, Words words)
    {
        sums.low = _mm512_add_epi32(sums.low, _mm512_cvtepu16_epi32(_mm512_castsi512_si256(words)));
        sums.high = _mm512_add_epi32(sums.high, _mm512_cvtepu16_epi32(_mm512_extracti64x4_epi64(words, 1)));
    }
    static void store(const Sums& sums, int32_t* out)
    {
        _mm512_storeu_si512(out, sums.low);
        _mm512_storeu_si512(out + 16, sums.high);
    }
};
#else
struct Places {
    static constexpr int32_t kPositions = 16;
    using Words = __m256i;
    using Pixels = __m256i;
    struct Sums {
        __m256i low, high;
    };
    static __m256i bytes(const uint8_t* p, int32_t n)
    {
        uint8_t copy[32] = {};
        std::memcpy(copy, p, static_cast<std::size_t>(n));
        return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(copy));
    }
    static Pixels load(const uint8_t* p, int32_t n)
    {
        // A full step reads 19 bytes: two overlapping loads of 16 stay inside them.
        if (n == kPositions)
            return _mm256_inserti128_si256(
                _mm256_castsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p))),
                _mm_srli_si128(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 3)), 5), 1);
        return _mm256_permute4x64_epi64(bytes(p, n + 3), 0x94);
    }
    static Words add(Words sums, Pixels pixels, int32_t four)
    {
        return _mm256_add_epi16(sums, _mm256_mpsadbw_epu8(pixels, _mm256_set1_epi32(four), 0));
    }
    static Words addSingle(Words sums, const uint8_t* p, int32_t n, uint8_t byte)
    {
        const __m128i q = n == kPositions ? _mm_loadu_si128(reinterpret_cast<const __m128i*>(p))
                                          : _mm256_castsi256_si128(bytes(p, n));
        const __m128i b = _mm_set1_epi8(static_cast<char>(byte));
        const __m128i d = _mm_or_si128(_mm_subs_epu8(q, b), _mm_subs_epu8(b, q));
        return _mm256_add_epi16(sums, _mm256_cvtepu8_epi16(d));
    }
    static Words zeroWords() { return _mm256_setzero_si256(); }
    static Sums zeroSums() { return {_mm256_setzero_si256(), _mm256_setzero_si256()}; }
    static void widen(Sums& sums, Words words)
    {
        sums.low = _mm256_add_epi32(sums.low, _mm256_cvtepu16_epi32(_mm256_castsi256_si128(words)));
        sums.high = _mm256_add_epi32(sums.high, _mm256_cvtepu16_epi32(_mm256_extracti128_si256(words, 1)));
    }
    static void store(const Sums& sums, int32_t* out)
    {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out), sums.low);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + 8), sums.high);
    }
};
#endif

// kRows rows of n positions at once: each row of the image serves kRows rows of the pattern.
template <int32_t kRows>
class PlaceSums
{
public:
    PlaceSums()
    {
        for (int32_t k = 0; k < kRows; ++k) {
            words_[k] = Places::zeroWords();
            sums_[k] = Places::zeroSums();
        }
    }

    // An image row against the pattern rows first - k, with kAll for every k, else for those from..to.
    template <bool kAll>
    [[gnu::always_inline]] void addRow(const CorrelationPattern& pattern, const uint8_t* image, int32_t n,
                                       int32_t first, int32_t from, int32_t to)
    {
        const uint8_t* patternRow = pattern.pixels + int64_t{first} * pattern.cols;
        const int64_t back = pattern.cols;
        int32_t x = 0;
        while (x + 4 <= pattern.cols) {
            const int32_t steps = std::min((pattern.cols - x) / 4, kMostAdditions - additions_);
            additions_ += steps;
            for (const int32_t end = x + 4 * steps; x < end; x += 4) {
                const auto pixels = Places::load(image + x, n);
                for (int32_t k = 0; k < kRows; ++k) {
                    if (!kAll && (k < from || k > to))
                        continue;
                    int32_t four;
                    std::memcpy(&four, patternRow - k * back + x, 4);
                    words_[k] = Places::add(words_[k], pixels, four);
                }
            }
            if (additions_ == kMostAdditions)
                flush();
        }
        for (; x < pattern.cols; ++x) {
            for (int32_t k = 0; k < kRows; ++k)
                if (kAll || (k >= from && k <= to))
                    words_[k] = Places::addSingle(words_[k], image + x, n, patternRow[x - k * back]);
            if (++additions_ == kMostAdditions)
                flush();
        }
    }

    void store(int32_t n, int32_t* out, int64_t outStride)
    {
        flush();
        for (int32_t k = 0; k < kRows; ++k) {
            int32_t row[Places::kPositions];
            Places::store(sums_[k], row);
            std::memcpy(out + k * outStride, row, sizeof(int32_t) * static_cast<std::size_t>(n));
        }
    }

private:
    static constexpr int32_t kMostAdditions = 64; // of at most 4 * 255 each, to words

    void flush()
    {
        for (int32_t k = 0; k < kRows; ++k) {
            Places::widen(sums_[k], words_[k]);
            words_[k] = Places::zeroWords();
        }
        additions_ = 0;
    }

    typename Places::Words words_[kRows];
    typename Places::Sums sums_[kRows];
    int32_t additions_ = 0;
};

template <int32_t kRows>
void differencesOfRows(const CorrelationPattern& pattern, const uint8_t* image, int64_t stride,
                       int32_t outCols, int32_t* out)
{
    for (int32_t x = 0; x < outCols; x += Places::kPositions) {
        const int32_t n = std::min(Places::kPositions, outCols - x);
        PlaceSums<kRows> sums;
        // The first and last rows of the image meet fewer rows of the pattern.
        const int32_t last = pattern.rows + kRows - 1;
        for (int32_t y = 0; y < last; ++y) {
            const uint8_t* row = image + y * stride + x;
            if (y >= kRows - 1 && y < pattern.rows)
                sums.template addRow<true>(pattern, row, n, y, 0, kRows - 1);
            else
                sums.template addRow<false>(pattern, row, n, y, std::max(0, y - pattern.rows + 1),
                                            std::min(y, kRows - 1));
        }
        sums.store(n, out + x, outCols);
    }
}

#endif

inline void findDifferences(const CorrelationPattern& pattern, const uint8_t* image, int64_t stride,
                            int32_t outCols, int32_t outRows, int32_t* out)
{
#if VEXA_LEVEL >= 2
    if (outRows == kScoreRows && pattern.rows >= kScoreRows) {
        differencesOfRows<kScoreRows>(pattern, image, stride, outCols, out);
        return;
    }
    for (int32_t y = 0; y < outRows; ++y)
        differencesOfRows<1>(pattern, image + y * stride, stride, outCols, out + int64_t{y} * outCols);
#else
    for (int32_t y = 0; y < outRows; ++y)
        for (int32_t x = 0; x < outCols; ++x)
            *out++ = windowDifference(pattern, image + y * stride + x, stride);
#endif
}

inline constexpr CorrelationRows kCorrelationRows = {findDifferences, multiplyWindow, sumRow, halveRow};

} // namespace vexa::VEXA_TARGET
