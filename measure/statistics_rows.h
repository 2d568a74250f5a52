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

// No stretch of bytes is longer: its 32-bit sums hold 255 per byte, and 4 squares per 32 bytes in each lane.
inline constexpr int32_t kMostBytes = 1 << 18;

// The plain forms: they define the result and finish what the vectors leave over.
inline void addPlainBytes(const uint8_t* bytes, int32_t n, ByteSums& sums)
{
    uint32_t sum = 0;
    uint64_t squares = 0;
    uint8_t low = sums.low;
    uint8_t high = sums.high;
    for (int32_t i = 0; i < n; ++i) {
        const uint32_t value = bytes[i];
        sum += value;
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
struct Vector {
    using Raw = __m512i;
    static Raw load(const uint8_t* p) { return _mm512_loadu_si512(p); }
    static void save(void* p, Raw v) { _mm512_storeu_si512(p, v); }
    static Raw zeros() { return _mm512_setzero_si512(); }
    static Raw all(uint8_t v) { return _mm512_set1_epi8(static_cast<char>(v)); }
    static Raw low(Raw a, Raw b) { return _mm512_min_epu8(a, b); }
    static Raw high(Raw a, Raw b) { return _mm512_max_epu8(a, b); }
    static Raw minus(Raw a, Raw b) { return _mm512_sub_epi8(a, b); }
    static Raw add32(Raw a, Raw b) { return _mm512_add_epi32(a, b); }
    static Raw add64(Raw a, Raw b) { return _mm512_add_epi64(a, b); }
    static Raw minus64(Raw a, Raw b) { return _mm512_sub_epi64(a, b); }
    static Raw sums(Raw a) { return _mm512_sad_epu8(a, zeros()); }
    static Raw lowWords(Raw a) { return _mm512_unpacklo_epi8(a, zeros()); }
    static Raw highWords(Raw a) { return _mm512_unpackhi_epi8(a, zeros()); }
    static Raw squarePairs(Raw a) { return _mm512_madd_epi16(a, a); }
};
#else
struct Vector {
    using Raw = __m256i;
    static Raw load(const uint8_t* p) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)); }
    static void save(void* p, Raw v) { _mm256_storeu_si256(static_cast<__m256i*>(p), v); }
    static Raw zeros() { return _mm256_setzero_si256(); }
    static Raw all(uint8_t v) { return _mm256_set1_epi8(static_cast<char>(v)); }
    static Raw low(Raw a, Raw b) { return _mm256_min_epu8(a, b); }
    static Raw high(Raw a, Raw b) { return _mm256_max_epu8(a, b); }
    static Raw minus(Raw a, Raw b) { return _mm256_sub_epi8(a, b); }
    static Raw add32(Raw a, Raw b) { return _mm256_add_epi32(a, b); }
    static Raw add64(Raw a, Raw b) { return _mm256_add_epi64(a, b); }
    static Raw minus64(Raw a, Raw b) { return _mm256_sub_epi64(a, b); }
    static Raw sums(Raw a) { return _mm256_sad_epu8(a, zeros()); }
    static Raw lowWords(Raw a) { return _mm256_unpacklo_epi8(a, zeros()); }
    static Raw highWords(Raw a) { return _mm256_unpackhi_epi8(a, zeros()); }
    static Raw squarePairs(Raw a) { return _mm256_madd_epi16(a, a); }
};
#endif

inline constexpr int32_t kWidth = sizeof(Vector::Raw);

// Folds the lanes of a vector into one value.
template <typename Lane, typename Value, typename Function>
Value fold(Vector::Raw v, Value value, Function function)
{
    Lane lanes[sizeof v / sizeof(Lane)];
    Vector::save(lanes, v);
    for (const Lane lane : lanes)
        value = function(value, lane);
    return value;
}
template <typename Lane>
uint64_t totalOf(Vector::Raw v)
{
    return fold<Lane>(v, uint64_t{0}, [](uint64_t total, Lane lane) { return total + lane; });
}

// Both take the bytes that fill whole vectors and return how many those were.
inline int32_t addVectors(const uint8_t* bytes, int32_t n, ByteSums& sums)
{
    Vector::Raw sum = Vector::zeros();
    Vector::Raw squares = Vector::zeros();
    Vector::Raw low = Vector::all(sums.low);
    Vector::Raw high = Vector::all(sums.high);
    int32_t i = 0;
    for (; i <= n - kWidth; i += kWidth) {
        const Vector::Raw v = Vector::load(bytes + i);
        const Vector::Raw lowSquares = Vector::squarePairs(Vector::lowWords(v));
        const Vector::Raw highSquares = Vector::squarePairs(Vector::highWords(v));
        sum = Vector::add64(sum, Vector::sums(v));
        squares = Vector::add32(squares, Vector::add32(lowSquares, highSquares));
        low = Vector::low(low, v);
        high = Vector::high(high, v);
    }
    sums.sum += totalOf<uint64_t>(sum);
    sums.squares += totalOf<uint32_t>(squares);
    sums.low = fold<uint8_t>(low, uint8_t{255}, smaller);
    sums.high = fold<uint8_t>(high, uint8_t{0}, larger);
    return i;
}
inline int32_t addDifferenceVectors(const uint8_t* a, const uint8_t* b, int32_t n, DifferenceSums& sums)
{
    Vector::Raw sum = Vector::zeros();
    Vector::Raw largest = Vector::all(sums.largest);
    int32_t i = 0;
    for (; i <= n - kWidth; i += kWidth) {
        const Vector::Raw va = Vector::load(a + i);
        const Vector::Raw vb = Vector::load(b + i);
        sum = Vector::add64(sum, Vector::minus64(Vector::sums(va), Vector::sums(vb)));
        largest = Vector::high(largest, Vector::minus(Vector::high(va, vb), Vector::low(va, vb)));
    }
    sums.sum += static_cast<int64_t>(totalOf<uint64_t>(sum));
    sums.largest = fold<uint8_t>(largest, uint8_t{0}, larger);
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

// The eight lanes of a float sum in as many vectors as the instruction set needs.
template <typename Value, int32_t Bytes>
struct Lanes {
    static constexpr int32_t kPerVector = Bytes / static_cast<int32_t>(sizeof(Value));
    static constexpr int32_t kVectors = FloatSums::kLanes / kPerVector;
    using Raw __attribute__((vector_size(Bytes))) = Value;
    Raw raw[kVectors];

    explicit Lanes(const Value (&from)[FloatSums::kLanes]) { std::memcpy(raw, from, sizeof raw); }
    void store(Value (&to)[FloatSums::kLanes]) const { std::memcpy(to, raw, sizeof raw); }
};
inline constexpr int32_t kDoubleBytes = VEXA_LEVEL == 3 ? 64 : VEXA_LEVEL == 2 ? 32 : 16;
inline constexpr int32_t kFloatBytes = VEXA_LEVEL == 0 ? 16 : 32;
using DoubleLanes = Lanes<double, kDoubleBytes>;
using FloatLanes = Lanes<float, kFloatBytes>;

// Element i goes to partial sum i modulo 8, on every instruction set: the sums are then the same everywhere.
template <bool Squares>
void sumFloats(const uint8_t* row, int32_t n, FloatSums& sums)
{
    using Narrow = Lanes<float, kDoubleBytes / 2>::Raw;
    DoubleLanes sum(sums.sum);
    DoubleLanes squares(sums.squares);
    FloatLanes low(sums.low);
    FloatLanes high(sums.high);
    int32_t i = 0;
    for (; i <= n - FloatSums::kLanes; i += FloatSums::kLanes) {
        const uint8_t* const eight = row + sizeof(float) * static_cast<std::size_t>(i);
#pragma GCC unroll 4
        for (int32_t v = 0; v < DoubleLanes::kVectors; ++v) {
            Narrow narrow;
            std::memcpy(&narrow, eight + sizeof narrow * static_cast<std::size_t>(v), sizeof narrow);
            const auto wide = __builtin_convertvector(narrow, DoubleLanes::Raw);
            sum.raw[v] += wide;
            if constexpr (Squares)
                squares.raw[v] += wide * wide;
        }
#pragma GCC unroll 4
        for (int32_t v = 0; v < FloatLanes::kVectors; ++v) {
            FloatLanes::Raw values;
            std::memcpy(&values, eight + sizeof values * static_cast<std::size_t>(v), sizeof values);
            low.raw[v] = values < low.raw[v] ? values : low.raw[v];
            high.raw[v] = values > high.raw[v] ? values : high.raw[v];
        }
    }
    sum.store(sums.sum);
    squares.store(sums.squares);
    low.store(sums.low);
    high.store(sums.high);
    for (int32_t k = 0; i < n; ++i, ++k) {
        float value;
        std::memcpy(&value, row + sizeof value * static_cast<std::size_t>(i), sizeof value);
        const double wide = value;
        sums.sum[k] += wide;
        if constexpr (Squares)
            sums.squares[k] += wide * wide;
        sums.low[k] = value < sums.low[k] ? value : sums.low[k];
        sums.high[k] = value > sums.high[k] ? value : sums.high[k];
    }
}

inline constexpr StatsRowFilter kSumBytes = sumBytes;
inline constexpr DifferenceRow kSumDifferences = sumDifferences;
inline constexpr FloatRow kSumFloats[] = {sumFloats<false>, sumFloats<true>};

} // namespace vexa::VEXA_TARGET
