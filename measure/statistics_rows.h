// Sums and extremes of rows. Compiled once per instruction set, hence no include guard.

namespace vexa::VEXA_TARGET
{

inline uint8_t smaller(uint8_t a, uint8_t b)
{
    return a < b ? a : b;
}
inline uint8_t larger(uint8_t a, uint8_t b)
{
    return a > b ? a : b;
}

// The plain forms: they define the result and finish what the vectors leave over.
inline void addPlainBytes(const uint8_t* bytes, int32_t n, ByteSums& sums)
{
    uint32_t sum = 0;
    uint64_t squares = 0;
    uint8_t low = sums.low;
    uint8_t high = sums.high;
    for (int32_t i = 0; i < n; ++i) {
        const uint32_t value = bytes[i];
        sum += value; // a row is at most 2^31 bytes, but no longer than kMostBytes here
        squares += value * value;
        low = smaller(low, bytes[i]);
        high = larger(high, bytes[i]);
    }
    sums.sum += sum;
    sums.squares += squares;
    sums.low = low;
    sums.high = high;
}

inline void addPlainDifferences(const uint8_t* a, const uint8_t* b, int32_t n, DifferenceSums& sums)
{
    int32_t sum = 0;
    uint8_t largest = sums.largest;
    for (int32_t i = 0; i < n; ++i) {
        sum += a[i] - b[i];
        largest = larger(largest, static_cast<uint8_t>(larger(a[i], b[i]) - smaller(a[i], b[i])));
    }
    sums.sum += sum;
    sums.largest = largest;
}

#if VEXA_LEVEL >= 2

#if VEXA_LEVEL == 3
using Vector = __m512i;
inline Vector load(const uint8_t* p)
{
    return _mm512_loadu_si512(p);
}
inline void save(void* p, Vector v)
{
    _mm512_storeu_si512(p, v);
}
inline Vector zeros()
{
    return _mm512_setzero_si512();
}
inline Vector all(uint8_t v)
{
    return _mm512_set1_epi8(static_cast<char>(v));
}
inline Vector lowest(Vector a, Vector b)
{
    return _mm512_min_epu8(a, b);
}
inline Vector highest(Vector a, Vector b)
{
    return _mm512_max_epu8(a, b);
}
inline Vector minus(Vector a, Vector b)
{
    return _mm512_sub_epi8(a, b);
}
inline Vector add32(Vector a, Vector b)
{
    return _mm512_add_epi32(a, b);
}
inline Vector add64(Vector a, Vector b)
{
    return _mm512_add_epi64(a, b);
}
inline Vector subtract64(Vector a, Vector b)
{
    return _mm512_sub_epi64(a, b);
}
inline Vector sumOfBytes(Vector a)
{
    return _mm512_sad_epu8(a, zeros());
}
inline Vector lowWords(Vector a)
{
    return _mm512_unpacklo_epi8(a, zeros());
}
inline Vector highWords(Vector a)
{
    return _mm512_unpackhi_epi8(a, zeros());
}
inline Vector squarePairs(Vector a)
{
    return _mm512_madd_epi16(a, a);
}
#else
using Vector = __m256i;
inline Vector load(const uint8_t* p)
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
}
inline void save(void* p, Vector v)
{
    _mm256_storeu_si256(static_cast<__m256i*>(p), v);
}
inline Vector zeros()
{
    return _mm256_setzero_si256();
}
inline Vector all(uint8_t v)
{
    return _mm256_set1_epi8(static_cast<char>(v));
}
inline Vector lowest(Vector a, Vector b)
{
    return _mm256_min_epu8(a, b);
}
inline Vector highest(Vector a, Vector b)
{
    return _mm256_max_epu8(a, b);
}
inline Vector minus(Vector a, Vector b)
{
    return _mm256_sub_epi8(a, b);
}
inline Vector add32(Vector a, Vector b)
{
    return _mm256_add_epi32(a, b);
}
inline Vector add64(Vector a, Vector b)
{
    return _mm256_add_epi64(a, b);
}
inline Vector subtract64(Vector a, Vector b)
{
    return _mm256_sub_epi64(a, b);
}
inline Vector sumOfBytes(Vector a)
{
    return _mm256_sad_epu8(a, zeros());
}
inline Vector lowWords(Vector a)
{
    return _mm256_unpacklo_epi8(a, zeros());
}
inline Vector highWords(Vector a)
{
    return _mm256_unpackhi_epi8(a, zeros());
}
inline Vector squarePairs(Vector a)
{
    return _mm256_madd_epi16(a, a);
}
#endif

inline constexpr int32_t kWidth = sizeof(Vector);

template <typename Lane>
Lane totalOf(Vector v)
{
    Lane lanes[sizeof(Vector) / sizeof(Lane)];
    save(lanes, v);
    Lane total = 0;
    for (const Lane lane : lanes)
        total = static_cast<Lane>(total + lane);
    return total;
}
inline uint8_t lowestOf(Vector v)
{
    uint8_t lanes[sizeof(Vector)];
    save(lanes, v);
    uint8_t low = 255;
    for (const uint8_t lane : lanes)
        low = smaller(low, lane);
    return low;
}
inline uint8_t highestOf(Vector v)
{
    uint8_t lanes[sizeof(Vector)];
    save(lanes, v);
    uint8_t high = 0;
    for (const uint8_t lane : lanes)
        high = larger(high, lane);
    return high;
}

// Widens 32-bit lanes, taken as unsigned, into one sum.
inline uint64_t totalOfWords(Vector v)
{
    uint32_t lanes[sizeof(Vector) / sizeof(uint32_t)];
    save(lanes, v);
    uint64_t total = 0;
    for (const uint32_t lane : lanes)
        total += lane;
    return total;
}

// The bytes from the start on that fill whole vectors; returns how many those were. No more than kMostBytes, so that
// the 32-bit lanes of the squares hold their sums.
inline int32_t addVectors(const uint8_t* bytes, int32_t n, ByteSums& sums)
{
    Vector sum = zeros();
    Vector squares = zeros();
    Vector low = all(sums.low);
    Vector high = all(sums.high);
    int32_t i = 0;
    for (; i <= n - kWidth; i += kWidth) {
        const Vector v = load(bytes + i);
        sum = add64(sum, sumOfBytes(v));
        squares = add32(squares, add32(squarePairs(lowWords(v)), squarePairs(highWords(v))));
        low = lowest(low, v);
        high = highest(high, v);
    }
    sums.sum += totalOf<uint64_t>(sum);
    sums.squares += totalOfWords(squares);
    sums.low = lowestOf(low);
    sums.high = highestOf(high);
    return i;
}

inline int32_t addDifferenceVectors(const uint8_t* a, const uint8_t* b, int32_t n, DifferenceSums& sums)
{
    Vector sum = zeros();
    Vector largest = all(sums.largest);
    int32_t i = 0;
    for (; i <= n - kWidth; i += kWidth) {
        const Vector va = load(a + i);
        const Vector vb = load(b + i);
        sum = add64(sum, subtract64(sumOfBytes(va), sumOfBytes(vb)));
        largest = highest(largest, minus(highest(va, vb), lowest(va, vb)));
    }
    sums.sum += static_cast<int64_t>(totalOf<uint64_t>(sum));
    sums.largest = highestOf(largest);
    return i;
}

#else

inline int32_t addVectors(const uint8_t*, int32_t, ByteSums&)
{
    return 0;
}
inline int32_t addDifferenceVectors(const uint8_t*, const uint8_t*, int32_t, DifferenceSums&)
{
    return 0;
}

#endif

// A stretch is short enough for the 32-bit sums inside it: 4 x 65025 per 64 bytes and lane, 255 per byte.
inline constexpr int32_t kMostBytes = 1 << 18;

inline void sumBytes(const void* row, int32_t n, void* parameter)
{
    auto& sums = *static_cast<ByteSums*>(parameter);
    const auto* bytes = static_cast<const uint8_t*>(row);
    sums.count += n;
    for (int32_t left = n; left > 0;) {
        const int32_t stretch = left < kMostBytes ? left : kMostBytes;
        const int32_t done = addVectors(bytes, stretch, sums);
        addPlainBytes(bytes + done, stretch - done, sums);
        bytes += stretch;
        left -= stretch;
    }
}

inline void sumDifferences(const uint8_t* a, const uint8_t* b, int32_t n, DifferenceSums& sums)
{
    for (int32_t left = n; left > 0;) {
        const int32_t stretch = left < kMostBytes ? left : kMostBytes;
        const int32_t done = addDifferenceVectors(a, b, stretch, sums);
        addPlainDifferences(a + done, b + done, stretch - done, sums);
        a += stretch;
        b += stretch;
        left -= stretch;
    }
}

// Element i goes to partial sum i modulo 8, on every instruction set: the sums are then the same everywhere.
template <bool Squares>
void sumFloats(const uint8_t* row, int32_t n, FloatSums& sums)
{
    constexpr int32_t kLanes = FloatSums::kLanes;
    FloatSums s = sums;
    int32_t i = 0;
    for (; i <= n - kLanes; i += kLanes) {
        float values[kLanes];
        std::memcpy(values, row + sizeof(float) * static_cast<std::size_t>(i), sizeof values);
        for (int32_t k = 0; k < kLanes; ++k) {
            const double value = values[k];
            s.sum[k] += value;
            if constexpr (Squares)
                s.squares[k] += value * value;
        }
        for (int32_t k = 0; k < kLanes; ++k)
            s.low[k] = values[k] < s.low[k] ? values[k] : s.low[k];
        for (int32_t k = 0; k < kLanes; ++k)
            s.high[k] = values[k] > s.high[k] ? values[k] : s.high[k];
    }
    for (int32_t k = 0; i < n; ++i, ++k) {
        float one;
        std::memcpy(&one, row + sizeof(float) * static_cast<std::size_t>(i), sizeof one);
        const double value = one;
        s.sum[k] += value;
        if constexpr (Squares)
            s.squares[k] += value * value;
        s.low[k] = one < s.low[k] ? one : s.low[k];
        s.high[k] = one > s.high[k] ? one : s.high[k];
    }
    sums = s;
}

inline constexpr StatsRowFilter kSumBytes = sumBytes;
inline constexpr DifferenceRow kSumDifferences = sumDifferences;
inline constexpr FloatRow kSumFloats[] = {sumFloats<false>, sumFloats<true>};

} // namespace vexa::VEXA_TARGET
